#include "host/recording/GapDetector.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// No interval counts as a gap before this many are known.
constexpr std::uint64_t minIntervals = 8;

}  // namespace

std::optional<std::uint32_t> timestampStep(std::uint32_t first, std::uint32_t second)
{
  constexpr std::uint32_t halfRange = 0x8000'0000;
  const std::uint32_t step = second - first;
  return step < halfRange ? std::optional(step) : std::nullopt;
}

void GapDetector::add(std::uint32_t timestampMs)
{
  ++records_;
  const auto before = std::exchange(last_, timestampMs);
  if (!before) return;
  const auto interval = timestampStep(*before, timestampMs);
  if (!interval) {
    ++backwardSteps_;
    return;
  }
  spanMs_ += *interval;
  longestMs_ = std::max(longestMs_, *interval);
  ++intervals_[std::min<std::size_t>(*interval, bins - 1)];
}

std::uint64_t GapDetector::intervals() const
{
  return records_ == 0 ? 0 : records_ - 1 - backwardSteps_;
}

// The mean of the largest group of intervals that differ from a length by at most a fifth.
double GapDetector::usualMs() const
{
  if (intervals() < minIntervals) return 0;
  // Number and sum of the intervals shorter than each length.
  std::array<std::uint64_t, bins + 1> counts{};
  std::array<std::uint64_t, bins + 1> sums{};
  for (std::size_t length = 0; length < bins; ++length) {
    counts[length + 1] = counts[length] + intervals_[length];
    sums[length + 1] = sums[length] + length * intervals_[length];
  }
  std::uint64_t maxCount = 0;
  double usual = 0;
  for (std::size_t length = 1; length < bins - 1; ++length) {
    const std::size_t reach = std::max<std::size_t>(length / 5, 1);
    const std::size_t first = length - reach;
    const std::size_t end =
        std::min(length + reach + 1, bins - 1);  // the last bin holds all longer intervals
    const std::uint64_t count = counts[end] - counts[first];
    if (count <= maxCount) continue;
    maxCount = count;
    usual = static_cast<double>(sums[end] - sums[first]) / static_cast<double>(count);
  }
  return usual;
}

double GapDetector::maxUsualMs() const
{
  const double usual = usualMs();
  // Timestamps are whole milliseconds: at high rates rounding alone makes intervals uneven.
  const double limit = usual + std::max(usual * 0.75, 2.5);
  const bool isKnown = usual > 0 && limit < bins - 1;
  return isKnown ? limit : std::numeric_limits<double>::infinity();
}

std::uint64_t GapDetector::count() const
{
  const double limit = maxUsualMs();
  std::uint64_t gaps = 0;
  for (std::size_t length = 0; length < bins; ++length) {
    if (static_cast<double>(length) > limit) gaps += intervals_[length];
  }
  return gaps;
}

std::uint32_t GapDetector::longestMs() const
{
  return count() > 0 ? longestMs_ : 0;
}

std::uint64_t GapDetector::missing() const
{
  const double usual = usualMs();
  if (count() == 0) return 0;
  const double expected = static_cast<double>(spanMs_) / usual;
  return static_cast<std::uint64_t>(std::llround(std::max(0.0, expected - static_cast<double>(intervals()))));
}

double GapDetector::recordsPerSecond() const
{
  return spanMs_ > 0 ? static_cast<double>(records_ - 1) / seconds() : 0;
}
