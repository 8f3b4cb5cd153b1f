// One glove's complete frame, as it is queued and passed to the reader.
#pragma once

#include <cstdint>
#include <vector>

struct Framelet {
  std::int32_t module = 0;             // index of the module that sent it
  std::int32_t frameNumber = 0;        // the module's frame counter, widened
  std::uint32_t timeStamp = 0;         // the module's clock in ticks of 0.1 ms, widened
  std::vector<std::uint16_t> samples;  // in the order of transmission
};
