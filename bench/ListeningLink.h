// A link over the platform in memory whose two modules are connected and listen, and frames to put into it.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <memory>

#include "link/BleDevice.h"
#include "shared/Folder.h"
#include "shared/Log.h"
#include "stream/PacketStore.h"

inline constexpr std::size_t packetsPerFrame = 14;
inline constexpr std::size_t samplesPerFrame = 125;

// A packet of a compact frame; frames come 25 ms apart.
std::array<std::uint8_t, PacketStore::packetSize> packetOf(std::size_t frame, std::size_t index);

// Puts the next frame of each glove into the stores, which must be empty of frames.
void fillStores();

// Brings the current device's link up without a dialogue.
void listen(BleDevice& device);

// A log manager that writes nothing. It deletes what lies in its folder, so it has one of its own.
class NoLogs {
 public:
  NoLogs();

 private:
  std::unique_ptr<LogManager> manager_;
};

// Times what is too short for the clock's own cost not to count.
class Stopwatch {
 public:
  using Clock = std::chrono::steady_clock;

  Stopwatch()
  {
    for (int count = 0; count < 10000; ++count) {
      cost_ = std::min(cost_, time([] {}));
    }
  }

  double seconds(const auto& action) const
  {
    return std::chrono::duration<double>(std::max(time(action) - cost_, Clock::duration{})).count();
  }

 private:
  static Clock::duration time(const auto& action)
  {
    const auto before = Clock::now();
    action();
    return Clock::now() - before;
  }

  Clock::duration cost_ = Clock::duration::max();  // of looking at the clock twice
};
