#include "host/doctor/GloveClocks.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double secondsPerTick = 1e-4;
constexpr double minSeconds = 5;
// A frame waits for as long as that for its connection event: the longest interval of the plug-in.
constexpr double maxWait = 0.025;

}  // namespace

void GloveClocks::add(std::span<const std::uint8_t> bytes)
{
  reader_.add(bytes);
  while (const auto block = reader_.next()) {
    decoder_.add(*block);
  }
}

void GloveClocks::Glove::add(Packet packet, Time time)
{
  account_.add(packet, time);
  account_.skip(account_.queue().size());
}

void GloveClocks::Glove::connectionBegins()
{
  time_.restart();
  origin_.reset();
  shortestStep_.reset();
  first_ = latest_ = running_ = {};
}

void GloveClocks::Glove::frameBegins(std::int64_t ticks, Time arrival)
{
  time_.addArrival(ticks, arrival);
  if (!origin_) {
    origin_ = {ticks, arrival};
  } else if (ticks > latestTicks_) {
    shortestStep_ = std::min(shortestStep_.value_or(ticks - latestTicks_), ticks - latestTicks_);
  }
  latestTicks_ = ticks;
  const double device = static_cast<double>(ticks - origin_->ticks) * secondsPerTick;
  const double lag = std::chrono::duration<double>(arrival - origin_->arrival).count() - device;
  const double second = std::floor(device);
  if (second != running_.second) {
    if (running_.second == 0) first_ = running_;
    latest_ = running_;
    running_ = {.second = second};
  }
  running_.value = std::min(running_.value, lag);
}

std::optional<ClockError> GloveClocks::Glove::error() const
{
  const double seconds = latest_.second - first_.second;
  if (seconds < minSeconds) return std::nullopt;
  // How long frames wait may change by as much meanwhile, which can't be told from drift.
  const double bound = maxWait / seconds;
  return ClockError{time_.clockError().value_or((first_.value - latest_.value) / seconds), bound};
}

std::optional<double> GloveClocks::Glove::framesPerSecond() const
{
  if (!shortestStep_) return std::nullopt;
  return 1 / (static_cast<double>(*shortestStep_) * secondsPerTick);
}
