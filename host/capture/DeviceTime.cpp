#include "host/capture/DeviceTime.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>

namespace {

using Seconds = std::chrono::duration<double>;

constexpr double secondsPerTick = 1e-4;
constexpr double period = 0.5;  // in seconds, as all below; its earliest arrival is kept
// Long enough for slow sweeps of the phase, short enough for crystals that follow the temperature.
constexpr double window = 400;
constexpr double minAgeOfKnownSlope = 60;
// A crystal is more exact than that. A steeper line follows the waiting of frames, not the clock.
constexpr double maxSlope = 1000e-6;
constexpr double maxSlopeOfYoungFit = 400e-6;
// What a change of temperature makes of a crystal while its glove is away.
constexpr double maxSlopeChange = 20e-6;
// The phase sweeps the shortest connection interval within a span, so that waiting can't pass for drift.
constexpr int minSweptPhase = 9;
constexpr double maxSlew = 0.005;
constexpr double maxEarliness = 0.1;  // the fit is above the truth by less than one connection interval
constexpr double spanOfResidual = 10;
constexpr double spanOfPhases = 5;  // short, so that drift can't pass for a sweep
constexpr double earliestPhase = -0.025;

DeviceTime::Time toTime(Seconds seconds)
{
  return std::chrono::round<DeviceTime::Time>(seconds);
}

}  // namespace

void DeviceTime::addArrival(std::int64_t ticks, Time arrival)
{
  if (origin_) {
    if (ticks < latestTicks_ || line_.distanceOf(pointOf(ticks, arrival)) < -maxEarliness) restart();
  }
  if (!origin_) {
    origin_ = Origin{ticks, arrival};
    line_ = {};
  }
  latestTicks_ = ticks;
  const Point point = pointOf(ticks, arrival);
  const bool beginsPeriod = keep(point);
  if (beginsPeriod || line_.distanceOf(point) < 0) fit();
  observePhase(point);
}

DeviceTime::Point DeviceTime::pointOf(std::int64_t ticks, Time arrival) const
{
  const double device = static_cast<double>(ticks - origin_->ticks) * secondsPerTick;
  return {device, Seconds(arrival - origin_->arrival).count() - device};
}

bool DeviceTime::keep(const Point& point)
{
  const auto periodOf = [](const Point& each) { return std::floor(each.device / period); };
  if (!earliest_.empty() && periodOf(earliest_.back()) == periodOf(point)) {
    if (line_.distanceOf(point) < line_.distanceOf(earliest_.back())) earliest_.back() = point;
    return false;
  }
  const auto isInWindow = [&](const Point& each) { return each.device >= point.device - window; };
  earliest_.erase(earliest_.begin(), std::ranges::find_if(earliest_, isInWindow));
  earliest_.push_back(point);
  return true;
}

// Of all lines below the points, the one with the smallest sum of distances: it contains the hull's edge
// below the centre of the window. What is late at either end of the window hardly moves it.
void DeviceTime::fit()
{
  findHull();
  const double age = earliest_.back().device - earliest_.front().device;
  const bool isYoung = age < minAgeOfKnownSlope;
  double slope = slopeBelowCentre();
  if (std::abs(slope) > (isYoung ? maxSlopeOfYoungFit : maxSlope)) {
    slope = knownSlope_.value_or(0);
  } else if (!isYoung) {
    knownSlope_ = slope;
    if (observedPhaseMs() >= minSweptPhase) exactSlope_ = slope;
  } else if (exactSlope_) {
    slope = std::clamp(slope, *exactSlope_ - maxSlopeChange, *exactSlope_ + maxSlopeChange);
  }
  const auto height = [slope](const Point& each) { return each.lag - slope * each.device; };
  line_ = {*std::ranges::min_element(hull_, {}, height), slope};
}

void DeviceTime::findHull()
{
  const auto isAbove = [](const Point& point, const Point& before, const Point& after) {
    return (point.lag - before.lag) * (after.device - before.device) >=
           (after.lag - before.lag) * (point.device - before.device);
  };
  hull_.clear();
  for (const Point& next : earliest_) {
    while (hull_.size() >= 2 && isAbove(hull_.back(), hull_[hull_.size() - 2], next)) {
      hull_.pop_back();
    }
    hull_.push_back(next);
  }
}

double DeviceTime::slopeBelowCentre() const
{
  if (hull_.size() < 2) return knownSlope_.value_or(0);
  const double centre = (hull_.front().device + hull_.back().device) / 2;
  const auto right = std::ranges::find_if(hull_, [&](const Point& each) { return each.device > centre; });
  const auto left = std::prev(right);
  return (right->lag - left->lag) / (right->device - left->device);
}

std::optional<DeviceTime::Time> DeviceTime::timeOf(std::int64_t ticks)
{
  // A frame that waited in the plug-in since before the restart: the fit of its clock is gone.
  const bool isOfThisSegment = origin_ && ticks >= origin_->ticks && ticks <= latestTicks_;
  if (!isOfThisSegment) return output_ ? std::optional(output_->time) : std::nullopt;
  const double device = pointOf(ticks, origin_->arrival).device;
  Time time = origin_->arrival + toTime(Seconds(device + line_.at(device)));
  if (output_ && output_->isOfThisSegment) {
    const auto passed =
        static_cast<double>(std::max<std::int64_t>(ticks - output_->ticks, 0)) * secondsPerTick;
    const Time earliest = output_->time + toTime(Seconds(passed * (1 - maxSlew)));
    const Time latest = output_->time + toTime(Seconds(passed * (1 + maxSlew)));
    time = std::clamp(time, earliest, latest);
  } else if (output_) {
    time = std::max(time, output_->time);
  }
  output_ = {ticks, time, true};
  return time;
}

void DeviceTime::forgetClock()
{
  knownSlope_.reset();
  exactSlope_.reset();
  restart();
}

void DeviceTime::restart()
{
  origin_.reset();
  earliest_.clear();
  spanBegin_ = 0;
  spanLag_ = 0;
  phases_.reset();
  spansByPhases_.fill(0);
  if (output_) output_->isOfThisSegment = false;
}

void DeviceTime::observePhase(const Point& point)
{
  if (point.device >= spanBegin_ + spanOfPhases) {
    ++spansByPhases_[phases_.count()];
    phases_.reset();
    spanBegin_ = point.device;
    spanLag_ = line_.at(point.device);
  }
  const double phase = (point.lag - spanLag_ - earliestPhase) * 1000;
  if (phase >= 0 && phase < static_cast<double>(phases_.size())) phases_.set(static_cast<std::size_t>(phase));
}

double DeviceTime::residualMs() const
{
  std::vector<double> distances;
  double end = -1;
  for (const Point& each : earliest_) {
    if (each.device >= end) {
      end = each.device + spanOfResidual;
      distances.push_back(line_.distanceOf(each));
    } else {
      distances.back() = std::min(distances.back(), line_.distanceOf(each));
    }
  }
  if (distances.empty()) return 0;
  const auto median = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
  std::ranges::nth_element(distances, median);
  return 1000 * *median;
}

int DeviceTime::observedPhaseMs() const
{
  const auto spans = std::accumulate(spansByPhases_.begin(), spansByPhases_.end(), std::uint64_t{0});
  if (spans == 0) return static_cast<int>(phases_.count());
  std::uint64_t upTo = 0;
  const auto isMedian = [&](std::uint32_t count) { return 2 * (upTo += count) >= spans; };
  return static_cast<int>(std::ranges::find_if(spansByPhases_, isMedian) - spansByPhases_.begin());
}

std::optional<double> DeviceTime::clockError() const
{
  if (!knownSlope_) return std::nullopt;
  return 1 / (1 + *knownSlope_) - 1;
}
