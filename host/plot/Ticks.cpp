#include "host/plot/Ticks.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

Ticks::Ticks(double low, double high, std::size_t maxCount, double minStep)
{
  const double rough = std::max((high - low) / static_cast<double>(maxCount), minStep);
  const double exponent = std::floor(std::log10(rough));
  const double power = std::pow(10, exponent);
  step_ = 10 * power;
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power < rough * (1 - 1e-9)) continue;
    step_ = factor * power;
    break;
  }
  decimals_ = std::max(0, static_cast<int>(-std::floor(std::log10(step_) + 1e-9)));
  // Tolerates rounding errors, so that a tick at either end is not lost.
  const double first = std::ceil(low / step_ - 1e-6);
  const double last = std::floor(high / step_ + 1e-6);
  for (double tick = first; tick <= last && values_.size() <= maxCount; ++tick) {
    values_.push_back(tick * step_ + 0.0);  // no negative zero
  }
}

std::string Ticks::label(double value) const
{
  return fmt::format("{:.{}f}", value, decimals_);
}
