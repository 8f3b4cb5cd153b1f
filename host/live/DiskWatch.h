// How fast a growing recording fills its disk. The disk may be that of a network and hang: it is asked on a
// thread of its own. Threads: `DiskMeter` one at a time, `DiskWatch` any. Errors: std::system_error if there
// can be no thread. Destroying it waits for an answer that is due, as writing the recording would.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>

#include "host/base/Ticker.h"
#include "host/live/CountWindow.h"

struct DiskFigures {
  std::optional<std::uint64_t> bytes, freeBytes;  // empty while unknown
  std::optional<double> bytesPerSecond;           // over the last ten seconds
  std::chrono::nanoseconds answered{0};           // of host::uptime()

  // Until the disk is full; empty if unknown, or if nothing is being written.
  std::optional<double> secondsLeft() const;
};

struct DiskQuestions {
  std::function<std::optional<std::uint64_t>()> bytes;      // of the recording
  std::function<std::optional<std::uint64_t>()> freeBytes;  // on its disk
  std::function<std::chrono::nanoseconds()> clock;

  // Of a recording that gets this name.
  static DiskQuestions about(const std::filesystem::path& recording);
};

// Asks once a second, if it is called often enough.
class DiskMeter {
 public:
  explicit DiskMeter(DiskQuestions questions) : questions_(std::move(questions)) {}

  // Empty if it is not time to ask.
  std::optional<DiskFigures> ask();

 private:
  DiskQuestions questions_;
  std::optional<std::chrono::nanoseconds> next_;
  CountWindow bytes_{std::chrono::seconds(10)};
};

class DiskWatch {
 public:
  explicit DiskWatch(DiskQuestions questions);

  // Empty before the first answer. Never waits for the disk.
  std::optional<DiskFigures> figures() const;

 private:
  void tick() noexcept;

  DiskMeter meter_;
  mutable std::mutex mutex_;  // of the figures
  std::optional<DiskFigures> figures_;
  Ticker ticker_;  // last, since its thread uses the others
};
