// What is printed of a capture. Threads: one. Throws only std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/capture/CaptureBlock.h"
#include "host/trace/TraceTime.h"

class TraceView {
 public:
  virtual ~TraceView() = default;
  // The blocks in order, with times since the beginning of the capture. `hasTime`: false if its own time
  // can't be right.
  virtual void add(const CaptureBlock& block, const TraceMoment& moment, bool hasTime) = 0;
  // So many bytes before the next block are no capture.
  virtual void addSkipped(std::uint64_t bytes, const TraceMoment& moment) = 0;
  // The capture ends, within a block if bytes of one are left.
  virtual void end(std::size_t unfinishedBytes, const TraceMoment& moment) = 0;
};
