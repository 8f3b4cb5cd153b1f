// The curves of the regions over the last two minutes: at most 30 points a second, each with the highest
// values since the one before. Threads: one at a time. Throws only std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/live/LiveSource.h"

// The points, each with a value for each curve.
class LiveCurves {
 public:
  static constexpr double maxMs = 120'000;

  explicit LiveCurves(std::size_t curves = 0);

  // Later than the one before; drops those that are too old then.
  void add(double ms, std::span<const float> values);
  void forgetBefore(double ms);

  std::size_t curves() const { return curves_; }
  std::size_t size() const { return size_; }
  // From the oldest one, 0, on.
  double ms(std::size_t point) const { return ms_[slot(point)]; }
  float value(std::size_t point, std::size_t curve) const { return values_[slot(point) * curves_ + curve]; }

 private:
  static constexpr std::size_t capacity = LiveSource::picturesPerSecond * 120 + 1;

  std::size_t slot(std::size_t point) const { return (first_ + point) % capacity; }

  std::size_t curves_;
  std::size_t first_ = 0, size_ = 0;
  std::vector<double> ms_;
  std::vector<float> values_;
};

// Makes points of the values of records.
class CurvePoints {
 public:
  void add(double ms, std::span<const float> values);
  // No value follows in the interval of the latest one.
  void finish();
  // Moves the finished points.
  void moveTo(LiveCurves& curves);

 private:
  std::int64_t interval_ = 0;
  bool isOpen_ = false;  // the latest point can still grow
  std::vector<double> ms_;
  std::vector<float> values_;
};
