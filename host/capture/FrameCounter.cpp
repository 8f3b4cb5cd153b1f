#include "host/capture/FrameCounter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr std::int64_t clockWrap = 65'536;
constexpr unsigned counterWrap = 16;
// Far below a wrap of the clock, by which choices differ, and far above the drift of a clock within the
// window and what the radio's events and the USB port delay.
constexpr std::int64_t lagTolerance = 3'000;
constexpr FrameCounter::Time lagWindow = 5min;
constexpr std::int64_t noLag = std::numeric_limits<std::int64_t>::max();
// A queue that drains changes the lag more quickly than this tolerates.
constexpr FrameCounter::Time settlingTime = 5s;
// More than crystals differ by, less than a queue drains by.
constexpr double maxDrift = 500e-6;
// Steps over which the period is averaged: some seconds, so that it follows a small change of the rate.
constexpr std::int64_t maxAveraged = 512;
constexpr std::size_t maxUndecided = 64;
constexpr std::size_t maxGaps = 64;

std::int64_t inTicks(FrameCounter::Time time)
{
  return time / 100us;
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
  std::int64_t elapsed = 0;
  if (!last_) {
    latest_ = {.number = agreeing(latest_.number + 1, packet.counter), .ticks = packet.clock, .steps = 0};
    minLags_ = {noLag, noLag};
  } else {
    elapsed = inTicks(packet.arrival - last_->arrival);
    Interval interval = intervalTo(packet);
    choose(interval, packet.arrival);
    checkRun(interval);
    latest_.number += interval.chosen.steps;
    latest_.ticks += interval.chosen.ticks;
    latest_.steps = interval.chosen.steps;
  }
  last_ = packet;
  checkLag(packet.arrival, elapsed);
  return latest_;
}

FrameCounter::Interval FrameCounter::intervalTo(const FirstPacket& packet) const
{
  const std::int64_t elapsed = inTicks(packet.arrival - last_->arrival);
  const std::int64_t lag = inTicks(last_->arrival) - latest_.ticks;
  const std::int64_t lateness = minLag() == noLag ? 0 : std::max<std::int64_t>(0, lag - minLag());
  Interval interval{.counted = (packet.counter + counterWrap - last_->counter) % counterWrap,
                    .minTicks = static_cast<std::uint16_t>(packet.clock - last_->clock),
                    .likelyTicks = elapsed + lagTolerance,
                    .maxTicks = elapsed + lateness + lagTolerance,
                    .chosen = {}};
  if (interval.counted == 0 && interval.minTicks == 0) interval.minTicks = clockWrap;
  return interval;
}

// The times that may have passed, each with the only number of frames that the counters allow for a period
// within these limits. Empty if a time allows several numbers.
std::vector<FrameCounter::Choice> FrameCounter::solutions(const Interval& interval, double minPeriod,
                                                          double maxPeriod) const
{
  std::vector<Choice> choices;
  // All that waited in a queue is not lost at once: only a few frames take longer than the time between
  // arrivals.
  const std::int64_t maxTicks =
      std::min(interval.maxTicks, std::max({interval.likelyTicks, interval.minTicks,
                                            static_cast<std::int64_t>(counterWrap * maxPeriod)}));
  for (std::int64_t ticks = interval.minTicks; ticks <= maxTicks; ticks += clockWrap) {
    const auto time = static_cast<double>(ticks);
    const std::int64_t steps = agreeingSteps(time / maxPeriod - 0.25, interval.counted);
    const double most = time / minPeriod + 0.25;
    if (static_cast<double>(steps) >= most) continue;
    if (static_cast<double>(steps + counterWrap) < most) return {};
    choices.push_back({ticks, steps});
  }
  return choices;
}

void FrameCounter::choose(Interval& interval, Time arrival)
{
  std::vector<Choice> choices;
  if (period_ > 0) choices = solutions(interval, period_, period_);
  if (choices.empty()) {
    assume(interval);
    return;
  }
  while (choices.size() > 1 && choices.back().ticks > interval.likelyTicks) {
    choices.pop_back();
  }
  interval.chosen = choices.back();
  if (choices.size() > 1 && gaps_.size() < maxGaps)
    gaps_.push_back({.choices = std::move(choices), .end = arrival});
  follow(interval.chosen, arrival);
}

// The rate changed, the clock jumped, or this is the first interval.
void FrameCounter::assume(Interval& interval)
{
  Choice& chosen = interval.chosen;
  chosen.ticks = interval.minTicks;
  while (chosen.ticks + clockWrap <= interval.likelyTicks) {
    chosen.ticks += clockWrap;
  }
  const double nearest =
      period_ > 0 ? static_cast<double>(chosen.ticks) / period_ - static_cast<double>(counterWrap) / 2 : 1;
  chosen.steps = agreeingSteps(nearest, interval.counted);
  if (chosen.ticks > interval.maxTicks) {
    minLags_ = {noLag, noLag};
    chosen.steps = agreeingSteps(1, interval.counted);
  }
  if (undecided_.size() == maxUndecided) {
    ambiguous_ += undecided_.size();
    undecided_.clear();
  }
  undecided_.push_back(interval);
  if (isConfirmed_) formerPeriod_ = period_;
  isConfirmed_ = false;
  ticksOfPeriod_ = chosen.ticks;
  stepsOfPeriod_ = agreeingSteps(1, interval.counted);
  period_ = static_cast<double>(ticksOfPeriod_) / static_cast<double>(stepsOfPeriod_);
}

void FrameCounter::follow(const Choice& choice, Time arrival)
{
  ticksOfPeriod_ += choice.ticks;
  stepsOfPeriod_ += choice.steps;
  period_ = static_cast<double>(ticksOfPeriod_) / static_cast<double>(stepsOfPeriod_);
  if (stepsOfPeriod_ > maxAveraged) {
    stepsOfPeriod_ /= 2;
    ticksOfPeriod_ = std::llround(period_ * static_cast<double>(stepsOfPeriod_));
  }
  if (!std::exchange(isConfirmed_, true)) decide(arrival);
}

// During a change of rate the period may have been anything between the former one and the present one.
void FrameCounter::decide(Time arrival)
{
  const double former = formerPeriod_ > 0 ? formerPeriod_ : period_;
  for (const Interval& interval : std::exchange(undecided_, {})) {
    auto choices = solutions(interval, std::min(former, period_), std::max(former, period_));
    if (choices.empty()) {
      ++ambiguous_;
      continue;
    }
    while (choices.size() > 1 && choices.back().ticks > interval.likelyTicks) {
      choices.pop_back();
    }
    replace(interval.chosen, choices.back());
    if (choices.size() > 1 && gaps_.size() < maxGaps) {
      gaps_.push_back({.choices = std::move(choices), .end = arrival});
    }
  }
  formerPeriod_ = 0;
}

// If each of many intervals lacks the same multiple of 16 frames, and no queue makes packets late, the rate
// has changed: a frame every 17 periods has the same counters.
void FrameCounter::checkRun(Interval& interval)
{
  constexpr unsigned minLength = 8;
  Choice& chosen = interval.chosen;
  const auto excess = chosen.steps - static_cast<std::int64_t>(interval.counted);
  if (excess <= 0 || interval.counted == 0) {
    run_ = {};
    return;
  }
  if (interval.counted != run_.counted || std::abs(chosen.ticks - run_.ticks) > run_.ticks / 20) {
    run_ = {.counted = interval.counted, .ticks = chosen.ticks, .length = 1, .excess = excess};
    return;
  }
  if (++run_.length < minLength || !isUsuallyLate(inTicks(last_->arrival) - latest_.ticks)) {
    run_.excess += excess;
    return;
  }
  replace({.ticks = 0, .steps = run_.excess}, {});
  chosen.steps = interval.counted;
  ticksOfPeriod_ = chosen.ticks;
  stepsOfPeriod_ = chosen.steps;
  period_ = static_cast<double>(ticksOfPeriod_) / static_cast<double>(stepsOfPeriod_);
  run_ = {};
}

bool FrameCounter::isUsuallyLate(std::int64_t lag) const
{
  return minLag() != noLag && std::abs(lag - minLag()) <= lagTolerance;
}

void FrameCounter::replace(const Choice& former, const Choice& better)
{
  correction_ += better.steps - former.steps;
  latest_.number += better.steps - former.steps;
  latest_.ticks += better.ticks - former.ticks;
}

std::int64_t FrameCounter::minLag() const
{
  return std::min(minLags_[0], minLags_[1]);
}

void FrameCounter::checkLag(Time arrival, std::int64_t elapsed)
{
  const auto lag = [&] { return inTicks(arrival) - latest_.ticks; };
  // Choices differ by whole wraps: so half a wrap tells them apart, even if the usual lag is not known well.
  while (minLag() != noLag && lag() < minLag() - clockWrap / 2 && shortenLatestGap()) {
  }
  settleGaps(arrival, lag());
  followLag(arrival, elapsed, lag());
}

bool FrameCounter::shortenLatestGap()
{
  const auto gap =
      std::find_if(gaps_.rbegin(), gaps_.rend(), [](const Gap& open) { return open.choices.size() > 1; });
  if (gap == gaps_.rend()) return false;
  const Choice former = gap->choices.back();
  gap->choices.pop_back();
  replace(former, gap->choices.back());
  return true;
}

void FrameCounter::settleGaps(Time arrival, std::int64_t lag)
{
  if (gaps_.empty()) return;
  if (!isUsuallyLate(lag)) {
    usualSince_.reset();
    return;
  }
  if (!usualSince_) usualSince_ = arrival;
  for (Gap& gap : gaps_) {
    gap.isSettled = gap.isSettled || arrival - std::max(*usualSince_, gap.end) >= settlingTime;
  }
  std::erase_if(gaps_, [&](const Gap& gap) { return gap.isSettled && arrival - gap.end > lagWindow; });
}

// While a gap is open, a wrong choice must not become the usual lag: then that only follows what a crystal
// may do.
void FrameCounter::followLag(Time arrival, std::int64_t elapsed, std::int64_t lag)
{
  if (gaps_.empty() || minLag() == noLag) {
    if (arrival >= windowEnd_) {
      windowEnd_ = arrival + lagWindow;
      minLags_ = {noLag, minLags_[0]};
    }
    minLags_[0] = std::min(minLags_[0], lag);
    return;
  }
  const auto drift = static_cast<std::int64_t>(std::ceil(static_cast<double>(elapsed) * maxDrift));
  const bool isSettled = std::ranges::all_of(gaps_, &Gap::isSettled);
  const std::int64_t usual = std::clamp(lag, minLag() - drift, isSettled ? minLag() + drift : minLag());
  minLags_ = {usual, usual};
}

std::int64_t FrameCounter::takeCorrection()
{
  return std::exchange(correction_, 0);
}

void FrameCounter::endConnection()
{
  if (!undecided_.empty()) decide(last_->arrival);
  ambiguous_ += static_cast<std::uint64_t>(
      std::ranges::count_if(gaps_, [](const Gap& gap) { return !gap.isSettled && gap.choices.size() > 1; }));
  gaps_.clear();
  run_ = {};
  usualSince_.reset();
  last_.reset();
  period_ = formerPeriod_ = 0;
  isConfirmed_ = false;
  ticksOfPeriod_ = stepsOfPeriod_ = 0;
}
