// Reads a capture piece by piece, and passes on its blocks, its gaps and its end. Threads: one.
// Memory: that of CaptureReader. Throws only std::bad_alloc.
#pragma once

#include <cstdint>
#include <span>

#include "host/capture/CaptureReader.h"
#include "host/trace/TraceTime.h"
#include "host/trace/TraceView.h"

class CaptureTrace {
 public:
  // The view must outlive it.
  explicit CaptureTrace(TraceView& view) : view_(view) {}

  void add(std::span<const std::uint8_t> bytes);
  // Of what is no capture, the view gets nothing.
  void end();

  // False while nothing was a capture.
  bool hasSection() const { return blocks_ > 0; }
  TraceTime::Time duration() const { return time_.latest().sinceStart; }

 private:
  void readBlocks();
  void passSkipped();

  TraceView& view_;
  CaptureReader reader_;
  TraceTime time_;
  std::uint64_t skipped_ = 0;
  std::uint64_t blocks_ = 0;  // the first of which is a section
};
