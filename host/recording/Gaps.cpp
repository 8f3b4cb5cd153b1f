#include "host/recording/Gaps.h"

#include <algorithm>
#include <cmath>

namespace {

// Intervals that have to be there before any of them is judged.
constexpr std::uint64_t leastIntervals = 8;

// Stamps are whole milliseconds: at high rates their rounding alone makes intervals uneven.
double longestUsual(double usualMs)
{
  return usualMs + std::max(usualMs * 0.75, 2.5);
}

}  // namespace

void Gaps::add(std::uint32_t stampMs)
{
  ++records_;
  const auto before = last_;
  last_ = stampMs;
  if (!before) return;
  const std::uint32_t interval = stampMs - *before;
  if (interval > 0x7FFFFFFF) return;  // a stamp that went back
  spanMs_ += interval;
  if (records_ == 2) return;
  longestMs_ = std::max(longestMs_, interval);
  ++intervals_[std::min<std::size_t>(interval, bins - 1)];
}

double Gaps::usualMs() const
{
  if (records_ < 2 + leastIntervals) return 0;
  // An eighth of the intervals: most may be gaps, and some may be short behind a pause.
  const std::uint64_t eighth = (records_ - 2) / 8;
  std::uint64_t seen = 0;
  std::size_t length = 0;
  while (length < bins - 1 && (seen += intervals_[length]) <= eighth) {
    ++length;
  }
  // The intervals around it, since their lengths waver.
  const auto middle = static_cast<double>(length);
  double sum = 0;
  double count = 0;
  for (auto near = static_cast<std::size_t>(middle * 0.7);
       near < bins && static_cast<double>(near) <= middle * 1.4; ++near) {
    sum += static_cast<double>(near) * intervals_[near];
    count += intervals_[near];
  }
  return count > 0 ? sum / count : 0;
}

std::uint64_t Gaps::count() const
{
  const double usual = usualMs();
  std::uint64_t gaps = 0;
  if (usual <= 0) return 0;
  for (auto length = static_cast<std::size_t>(longestUsual(usual)) + 1; length < bins; ++length) {
    gaps += intervals_[length];
  }
  return gaps;
}

std::uint32_t Gaps::longestMs() const
{
  return count() > 0 ? longestMs_ : 0;
}

std::uint64_t Gaps::missing() const
{
  const double usual = usualMs();
  if (count() == 0) return 0;
  const double expected = static_cast<double>(spanMs_) / usual + 1;
  return static_cast<std::uint64_t>(std::llround(std::max(0.0, expected - static_cast<double>(records_))));
}

double Gaps::recordsPerSecond() const
{
  return spanMs_ > 0 ? static_cast<double>(records_ - 1) / seconds() : 0;
}
