// Random packet faults between a glove and the dongle. The same seed yields the same faults.
#pragma once

#include <cstdint>
#include <random>

#include "simulator/Faults.h"

namespace simulator {

// For GloveFaults::packetFault; has its own random generator.
struct RandomFaults {
  explicit RandomFaults(std::uint64_t seed) : random_(static_cast<std::mt19937::result_type>(seed)) {}

  // Percentages of all packets, of those not lost, and of those neither lost nor doubled.
  double lossPercent = 0;
  double doublePercent = 0;
  double swapPercent = 0;

  PacketFault operator()(std::uint64_t)
  {
    if (happens(lossPercent)) return PacketFault::lost;
    if (happens(doublePercent)) return PacketFault::doubled;
    return happens(swapPercent) ? PacketFault::swapped : PacketFault::none;
  }

 private:
  bool happens(double percent)
  {
    return static_cast<double>(random_()) < percent / 100 * (static_cast<double>(std::mt19937::max()) + 1);
  }

  std::mt19937 random_;
};

}  // namespace simulator
