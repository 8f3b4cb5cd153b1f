#include "host/capture/FrameCounter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr std::int64_t clockWrap = 65'536;
constexpr unsigned counterWrap = 16;
// Far below a wrap of the clock, which is what one number of frames differs from another by, and far above
// the drift of a clock within the window and what the radio's events and the USB port delay.
constexpr std::int64_t lagTolerance = 3'000;
constexpr FrameCounter::Time lagWindow = 5min;
constexpr std::int64_t noLag = std::numeric_limits<std::int64_t>::max();
// Steps over which the period is averaged: some seconds, so that it follows a small change of the rate.
constexpr std::int64_t maxAveraged = 512;
constexpr std::size_t maxUndecided = 64;

std::int64_t inTicks(FrameCounter::Time time)
{
  return time / 100us;
}

// The number of frames in this time, if the counters agree.
std::optional<std::int64_t> fitting(std::int64_t ticks, unsigned counted, double period)
{
  const auto time = static_cast<double>(ticks);
  const std::int64_t steps = std::llround(time / period);
  const bool fits = steps >= 1 && steps % counterWrap == counted &&
                    std::abs(time - static_cast<double>(steps) * period) < period / 4;
  return fits ? std::optional(steps) : std::nullopt;
}

// The smallest number from `least` on that agrees with the counter.
std::int64_t agreeing(std::int64_t least, unsigned counter)
{
  return least + (counter + counterWrap - static_cast<unsigned>(least % counterWrap)) % counterWrap;
}

std::int64_t agreeingSteps(double least, unsigned counted)
{
  return agreeing(std::max<std::int64_t>(1, static_cast<std::int64_t>(std::ceil(least))), counted);
}

}  // namespace

bool FrameCounter::isSame(const FirstPacket& packet, bool isDirectlyBehind) const
{
  // A glove that was silent for longer may have come round to the same counter and clock. But a packet that
  // came twice may also be read late, if the program paused in between.
  return last_ && packet.counter == last_->counter && packet.clock == last_->clock &&
         (isDirectlyBehind || inTicks(packet.arrival - last_->arrival) < clockWrap / 2);
}

FrameCounter::Frame FrameCounter::add(const FirstPacket& packet)
{
  if (!last_) {
    latest_.number = agreeing(latest_.number + 1, packet.counter);
    latest_.ticks = packet.clock;
    latest_.steps = 0;
    minLags_ = {noLag, noLag};
  } else {
    const std::int64_t lateness =
        minLag() == noLag ? 0 : std::max<std::int64_t>(0, inTicks(last_->arrival) - latest_.ticks - minLag());
    const std::int64_t elapsed = inTicks(packet.arrival - last_->arrival);
    Interval interval{.counted = (packet.counter + counterWrap - last_->counter) % counterWrap,
                      .ticks = static_cast<std::uint16_t>(packet.clock - last_->clock),
                      .elapsed = elapsed,
                      .maxTicks = elapsed + lateness + lagTolerance};
    choose(interval);
    latest_.number += interval.steps;
    latest_.ticks += interval.ticks;
    latest_.steps = interval.steps;
  }
  last_ = packet;
  checkLag(packet.arrival);
  return latest_;
}

void FrameCounter::choose(Interval& interval)
{
  if (interval.counted == 0 && interval.ticks == 0) interval.ticks = clockWrap;
  std::vector<Interval> choices;
  for (Interval choice = interval; period_ > 0 && choice.ticks <= interval.maxTicks;
       choice.ticks += clockWrap) {
    if (const auto steps = fitting(choice.ticks, choice.counted, period_)) {
      choice.steps = *steps;
      choices.push_back(choice);
    }
  }
  if (choices.empty()) {
    assume(interval);
    return;
  }
  interval = choices.back();
  if (choices.size() > 1) {
    choices_ = std::move(choices);
    isUnsettled_ = true;
  }
  follow(interval);
}

// The rate changed, the clock jumped, or this is the first interval.
void FrameCounter::assume(Interval& interval)
{
  const bool isTooLong = interval.ticks > interval.maxTicks;
  while (interval.ticks + clockWrap <= interval.maxTicks) {
    interval.ticks += clockWrap;
  }
  const double nearest = period_ > 0 ? static_cast<double>(interval.elapsed) / period_ - counterWrap / 2 : 1;
  interval.steps = agreeingSteps(nearest, interval.counted);
  if (isTooLong) minLags_ = {noLag, noLag};

  if (undecided_.size() == maxUndecided) {
    ambiguous_ += undecided_.size();
    undecided_.clear();
  }
  undecided_.push_back(interval);
  if (isConfirmed_) formerPeriod_ = period_;
  isConfirmed_ = false;
  ticksOfPeriod_ = interval.ticks;
  stepsOfPeriod_ = agreeingSteps(1, interval.counted);
  period_ = static_cast<double>(ticksOfPeriod_) / static_cast<double>(stepsOfPeriod_);
}

void FrameCounter::follow(const Interval& interval)
{
  ticksOfPeriod_ += interval.ticks;
  stepsOfPeriod_ += interval.steps;
  period_ = static_cast<double>(ticksOfPeriod_) / static_cast<double>(stepsOfPeriod_);
  if (stepsOfPeriod_ > maxAveraged) {
    stepsOfPeriod_ /= 2;
    ticksOfPeriod_ = std::llround(period_ * static_cast<double>(stepsOfPeriod_));
  }
  if (!std::exchange(isConfirmed_, true)) decide();
}

// During a change of rate the period may have been anything between the former one and the present one.
void FrameCounter::decide()
{
  const double former = formerPeriod_ > 0 ? formerPeriod_ : period_;
  for (const Interval& interval : undecided_) {
    const auto time = static_cast<double>(interval.ticks);
    const std::int64_t fewest = agreeingSteps(time / std::max(former, period_) - 0.25, interval.counted);
    const double most = time / std::min(former, period_) + 0.25;
    const bool isOnly = interval.ticks <= interval.maxTicks && static_cast<double>(fewest) <= most &&
                        static_cast<double>(fewest + counterWrap) > most;
    if (isOnly) {
      correction_ += fewest - interval.steps;
      latest_.number += fewest - interval.steps;
    } else {
      ++ambiguous_;
    }
  }
  undecided_.clear();
  formerPeriod_ = 0;
}

std::int64_t FrameCounter::minLag() const
{
  return std::min(minLags_[0], minLags_[1]);
}

void FrameCounter::checkLag(Time arrival)
{
  std::int64_t lag = inTicks(arrival) - latest_.ticks;
  const std::int64_t usual = minLag();
  if (usual != noLag && lag < usual - lagTolerance && !choices_.empty()) {
    // Too early: of the choices, the longest one that is not.
    const Interval chosen = choices_.back();
    const auto isTooLong = [&](const Interval& choice) {
      return lag + chosen.ticks - choice.ticks < usual - lagTolerance;
    };
    while (choices_.size() > 1 && isTooLong(choices_.back())) {
      choices_.pop_back();
    }
    const Interval& better = choices_.back();
    correction_ += better.steps - chosen.steps;
    latest_.number += better.steps - chosen.steps;
    latest_.ticks += better.ticks - chosen.ticks;
    lag = inTicks(arrival) - latest_.ticks;
  }
  if (usual != noLag && lag <= usual + lagTolerance) isUnsettled_ = false;
  const bool isOver = arrival >= windowEnd_;
  if (isOver && !isUnsettled_) choices_.clear();
  if (choices_.size() > 1) return;  // a wrong choice must not become the usual lag
  if (isOver) {
    windowEnd_ = arrival + lagWindow;
    minLags_ = {noLag, minLags_[0]};
  }
  minLags_[0] = std::min(minLags_[0], lag);
}

std::int64_t FrameCounter::takeCorrection()
{
  return std::exchange(correction_, 0);
}

void FrameCounter::endConnection()
{
  if (!undecided_.empty()) decide();
  if (std::exchange(isUnsettled_, false)) ++ambiguous_;
  choices_.clear();
  last_.reset();
  period_ = formerPeriod_ = 0;
  isConfirmed_ = false;
  ticksOfPeriod_ = stepsOfPeriod_ = 0;
}
