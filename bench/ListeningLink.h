// A link on the in-memory platform whose two modules are connected and listening, and frames for it.
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

// A packet of a compact frame; frames are 25 ms apart.
std::array<std::uint8_t, PacketStore::packetSize> packetOf(std::size_t frame, std::size_t index);

// Adds the next frame of each glove to the stores, which must be empty.
void fillStores();

// Puts the current device's link into the listening state without a dialogue.
void listen(BleDevice& device);

// A log manager that writes nothing. It deletes the contents of its folder, so it has its own.
class NoLogs {
 public:
  NoLogs();

 private:
  std::unique_ptr<LogManager> manager_;
};

// A stopwatch that subtracts the cost of reading the clock, for very short operations.
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

  Clock::duration cost_ = Clock::duration::max();  // of reading the clock twice
};
