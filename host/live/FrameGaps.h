// What the frames of one glove's records show: places where some are missing, and how late they arrive.
// Threads: one. Throws only std::bad_alloc.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

#include "host/recording/Record.h"

class FrameGaps {
 public:
  void add(const GloveFrame& frame, double arrivalMs);
  // The frames that follow are of another connection, from which numbers can't be compared.
  void beginConnection() { latest_.reset(); }

  std::uint64_t count() const { return count_; }
  // From one frame to the next across a gap, by the glove's clock.
  double longestMs() const { return longestMs_; }
  // From sampling to arrival: the mean over the latest second.
  std::optional<double> latencyMs() const;

 private:
  struct Latency {
    double arrivalMs, ms;
  };

  std::optional<GloveFrame> latest_;
  std::uint64_t count_ = 0;
  double longestMs_ = 0;
  std::deque<Latency> latencies_;
};
