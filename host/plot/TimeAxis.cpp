#include "host/plot/TimeAxis.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double periodOfSingleRecord = 0.025;
// Tolerance for rounding errors, in columns.
constexpr double roundingError = 1e-6;

}  // namespace

double usualPeriod(const Recording& recording)
{
  if (const double usualMs = recording.gaps.usualMs(); usualMs > 0) return usualMs / 1000;
  const double rate = recording.gaps.recordsPerSecond();
  return rate > 0 ? 1 / rate : periodOfSingleRecord;
}

double duration(const Recording& recording)
{
  return recording.seconds.back() + usualPeriod(recording);
}

TimeAxis::TimeAxis(const Recording& recording, double from, double to, std::size_t columns)
    : recording_(recording),
      period_(usualPeriod(recording)),
      maxUsualMs_(recording.gaps.maxUsualMs()),
      from_(from),
      to_(to),
      columns_(columns)
{
  const auto& seconds = recording.seconds;
  const auto after = std::ranges::upper_bound(seconds, from);
  const auto end = std::ranges::lower_bound(seconds, to);
  firstRecord_ = static_cast<std::size_t>(after - seconds.begin());
  if (firstRecord_ > 0) --firstRecord_;
  endRecord_ = std::min(static_cast<std::size_t>(end - seconds.begin()) + 1, seconds.size());
  findGaps();
}

double TimeAxis::endOf(std::size_t record) const
{
  const double usual = recording_.seconds[record] + period_;
  if (record + 1 == recording_.records()) return usual;
  const double next = recording_.seconds[record + 1];
  const double intervalMs = std::round((next - recording_.seconds[record]) * 1000);
  return intervalMs > maxUsualMs_ ? usual : next;
}

double TimeAxis::positionOf(double time) const
{
  return (time - from_) / (to_ - from_) * static_cast<double>(columns_);
}

double TimeAxis::position(std::size_t record) const
{
  return positionOf(recording_.seconds[record]);
}

double TimeAxis::endPosition(std::size_t record) const
{
  return positionOf(endOf(record));
}

ColumnSpan TimeAxis::columnsOf(std::size_t record) const
{
  const auto width = static_cast<double>(columns_);
  const double begin = position(record) + roundingError;
  const double end = endPosition(record) - roundingError;
  if (end <= 0) return {0, 0};
  if (begin >= width) return {columns_, columns_};
  const auto first = static_cast<std::size_t>(std::max(begin, 0.0));
  const auto last = static_cast<std::size_t>(std::ceil(std::min(end, width)));
  return {first, std::max(first + 1, last)};
}

void TimeAxis::findGaps()
{
  std::size_t filled = 0;
  for (std::size_t record = firstRecord_; record < endRecord_; ++record) {
    const ColumnSpan span = columnsOf(record);
    if (span.first > filled) gaps_.push_back({filled, span.first});
    filled = std::max(filled, span.end);
  }
  if (filled < columns_) gaps_.push_back({filled, columns_});
}
