// How fast a count has grown lately. Needs bounded memory. Threads: one.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

class CountWindow {
 public:
  using Time = std::chrono::nanoseconds;

  explicit CountWindow(Time span) : span_(span) {}

  void add(Time time, std::uint64_t count);
  void clear() { samples_.clear(); }

  // Over the span; 0 if the count is not known to have grown, though it may have been corrected downwards.
  double growth(Time now) const;
  // Empty while less than half a second is known.
  std::optional<double> perSecond(Time now) const;

 private:
  struct Sample {
    Time time;
    std::uint64_t count;
  };
  struct Stretch {
    double seconds, growth;
  };

  Stretch latest(Time now) const;

  Time span_;
  std::deque<Sample> samples_;  // the latest one may be close to the one before
};
