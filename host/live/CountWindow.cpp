#include "host/live/CountWindow.h"

#include <algorithm>

namespace {

using namespace std::chrono_literals;

constexpr auto minStep = 100ms;
// For so long a count may be unknown without having stopped.
constexpr auto maxStep = 600ms;
constexpr double minSeconds = 0.5;

}  // namespace

void CountWindow::add(Time time, std::uint64_t count)
{
  const std::size_t size = samples_.size();
  if (size > 1 && samples_[size - 1].time - samples_[size - 2].time < minStep) samples_.pop_back();
  samples_.push_back({time, count});
  while (samples_.size() > 2 && samples_[1].time <= time - span_) {
    samples_.pop_front();
  }
}

CountWindow::Stretch CountWindow::latest(Time now) const
{
  if (samples_.empty()) return {0, 0};
  const Sample& end = samples_.back();
  const Time endTime = std::max(end.time, now - maxStep);
  const Time wanted = endTime - span_;
  const auto later = std::ranges::upper_bound(samples_, wanted, {}, &Sample::time);
  const Sample& begin = later == samples_.begin() ? *later : *std::prev(later);
  // What was not counted for long did not grow meanwhile.
  const Time beginTime = wanted - begin.time > maxStep ? wanted : begin.time;
  return {std::chrono::duration<double>(endTime - beginTime).count(),
          end.count > begin.count ? static_cast<double>(end.count - begin.count) : 0};
}

double CountWindow::growth(Time now) const
{
  return latest(now).growth;
}

std::optional<double> CountWindow::perSecond(Time now) const
{
  const Stretch stretch = latest(now);
  if (stretch.seconds < minSeconds) return std::nullopt;
  return stretch.growth / stretch.seconds;
}
