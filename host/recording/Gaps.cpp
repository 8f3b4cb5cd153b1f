#include "host/recording/Gaps.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// Intervals that have to be there before any of them is judged.
constexpr std::uint64_t minIntervals = 8;

}  // namespace

void Gaps::add(std::uint32_t timestampMs)
{
  constexpr std::uint32_t halfRange = 0x8000'0000;
  ++records_;
  const auto before = std::exchange(last_, timestampMs);
  if (!before) return;
  const std::uint32_t interval = timestampMs - *before;
  if (interval >= halfRange) {
    ++backwardSteps_;
    return;
  }
  spanMs_ += interval;
  longestMs_ = std::max(longestMs_, interval);
  ++intervals_[std::min<std::size_t>(interval, bins - 1)];
}

std::uint64_t Gaps::intervals() const
{
  return records_ == 0 ? 0 : records_ - 1 - backwardSteps_;
}

double Gaps::usualMs() const
{
  if (intervals() < minIntervals) return 0;
  // An eighth of the intervals: most may be gaps, and some may be short behind a pause.
  const std::uint64_t eighth = intervals() / 8;
  std::uint64_t seen = 0;
  std::size_t length = 0;
  while (length < bins - 1 && (seen += intervals_[length]) <= eighth) {
    ++length;
  }
  if (length == bins - 1) return 0;  // too slow to be known
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

double Gaps::maxUsualMs() const
{
  const double usual = usualMs();
  // Timestamps are whole milliseconds: at high rates their rounding alone makes intervals uneven.
  const double longest = usual + std::max(usual * 0.75, 2.5);
  const bool isKnown = usual > 0 && longest < bins - 1;
  return isKnown ? longest : std::numeric_limits<double>::infinity();
}

std::uint64_t Gaps::count() const
{
  const double longest = maxUsualMs();
  std::uint64_t gaps = 0;
  for (std::size_t length = 0; length < bins; ++length) {
    if (static_cast<double>(length) > longest) gaps += intervals_[length];
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
  const double expected = static_cast<double>(spanMs_) / usual;
  return static_cast<std::uint64_t>(std::llround(std::max(0.0, expected - static_cast<double>(intervals()))));
}

double Gaps::recordsPerSecond() const
{
  return spanMs_ > 0 ? static_cast<double>(records_ - 1) / seconds() : 0;
}
