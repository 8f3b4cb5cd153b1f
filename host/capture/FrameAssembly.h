// Joins the packets of one glove into frames by the rules that the plug-in follows, written a second time so
// that the two check each other: packets count only in their order, from 0 to the last; any other packet
// discards the frame, and is itself discarded. Threads: one.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/capture/LinkDecoder.h"

class FrameAssembly {
 public:
  // The samples of the frame that this packet completes, if any.
  std::optional<std::vector<std::uint16_t>> add(LinkListener::Packet packet);

 private:
  unsigned next_ = 0;  // index of the packet that is accepted next
  unsigned last_ = 0;
  std::vector<std::uint16_t> samples_;
};
