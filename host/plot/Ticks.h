// The round numbers that stand at an axis: multiples of 1, 2 or 5 times a power of ten.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class Ticks {
 public:
  // From `low` to `high`, which is more, about so many at most. No step is smaller than `least`.
  Ticks(double low, double high, std::size_t most, double least = 0);

  const std::vector<double>& values() const { return values_; }
  double step() const { return step_; }
  // With the decimals that tell the values apart.
  std::string label(double value) const;

 private:
  double step_;
  int decimals_;
  std::vector<double> values_;
};
