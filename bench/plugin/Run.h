// One run of the measurement: the plan for its two processes, a writer and a reader, and the memory that they
// share. The writer writes a burst of frames as fast as the terminal accepts them, then paced ones.
// Times: ns of the monotonic clock, which is the same in both processes.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <thread>

struct Plan {
  std::filesystem::path plugin;
  std::filesystem::path settings;
  std::filesystem::path port;            // the terminal's path
  std::span<const std::uint8_t> stream;  // the burst's frames, then the paced ones
  std::size_t burstFrames = 20'000;
  std::size_t pacedFrames = 500;  // at most `maxPaced`

  std::chrono::microseconds pace{5000};  // from one paced frame to the next
};

inline constexpr std::size_t maxPaced = 5000;

// Cost of reading the burst.
struct Cost {
  double cpuSeconds = 0;
  double userSeconds = 0;  // of the CPU time, in the resolution of the operating system's ticks
  double wallSeconds = 0;  // from the writer's first byte on
  std::uint64_t waits = 0;
  std::uint64_t reads = 0;  // read calls; 0 where the operating system does not count them
  std::uint64_t largestRead = 0;
  std::uint64_t frames = 0;
};

struct Run {
  std::atomic<bool> isPortThere{false};    // by the writer
  std::atomic<bool> isReaderReady{false};  // by the reader: the burst may begin
  std::atomic<bool> isBurstRead{false};    // by the reader: the paced frames may begin
  std::atomic<bool> isOver{false};         // by the reader: reading has ended
  std::atomic<std::int64_t> burstBegan{0};
  Cost cost;                                        // by the reader
  std::array<std::int64_t, maxPaced> written{};     // by the writer: before the frame's write
  std::array<std::int64_t, maxPaced> delivered{};   // by the reader
  std::array<std::array<char, 400>, 2> failures{};  // messages of the writer and of the reader
};

inline std::int64_t monotonicNow()
{
  using namespace std::chrono;
  return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

inline void waitUntil(const std::atomic<bool>& flag)
{
  while (!flag) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}
