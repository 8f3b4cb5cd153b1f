// The round numbers at an axis: multiples of 1, 2 or 5 times a power of ten.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class Ticks {
 public:
  // From `low` to a greater `high`, at most about `maxCount` ticks with steps of at least `minStep`.
  Ticks(double low, double high, std::size_t maxCount, double minStep = 0);

  const std::vector<double>& values() const { return values_; }
  double step() const { return step_; }
  // With as many decimals as distinct labels need.
  std::string label(double value) const;

 private:
  double step_;
  int decimals_;
  std::vector<double> values_;
};
