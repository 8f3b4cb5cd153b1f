// The time axis of a trace: nanoseconds since the beginning of the capture. Later sections are placed by
// their wall clocks, but never before what precedes them. Nothing received is trusted. Threads: one.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "host/capture/CaptureBlock.h"

struct TraceMoment {
  std::chrono::nanoseconds sinceStart{0};
  std::chrono::nanoseconds wall{0};  // since 1970, UTC
};

class TraceTime {
 public:
  using Time = std::chrono::nanoseconds;

  // Of the next block, whose wall clock is known. A time that can't be right, before its section or more than
  // a day after the block before it, is replaced by the time of the latter.
  TraceMoment of(const CaptureBlock& block, Time wall);
  TraceMoment latest() const { return latest_; }
  // Whether the latest block had such a time.
  bool wasReplaced() const { return wasReplaced_; }

 private:
  std::optional<Time> captureBegin_;  // by the wall clock
  std::optional<Time> sectionBegin_;  // likewise; empty until a block of the section has a time
  Time sectionStart_{0};              // on the axis
  TraceMoment latest_;
  bool wasReplaced_ = false;
};

// "2026-01-01T00:00:00.000000Z"
std::string wallText(std::chrono::nanoseconds wall);
