#include "host/live/FrameGaps.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr double latencyMs = 1000;
constexpr double tickMs = 0.1;

}  // namespace

void FrameGaps::add(const GloveFrame& frame, double arrivalMs)
{
  if (const double ms = arrivalMs - frame.sampledMs; std::isfinite(ms)) {
    latencies_.push_back({arrivalMs, ms});
    while (latencies_.front().arrivalMs < arrivalMs - ::latencyMs)
      latencies_.pop_front();
  }
  const auto before = std::exchange(latest_, frame);
  const bool areKnown = before && before->number >= 0 && frame.number > before->number;
  if (!areKnown || frame.number == before->number + 1) return;
  ++count_;
  longestMs_ = std::max(longestMs_, static_cast<double>(frame.ticks - before->ticks) * tickMs);
}

std::optional<double> FrameGaps::latencyMs() const
{
  if (latencies_.empty()) return std::nullopt;
  double sum = 0;
  for (const Latency& latency : latencies_)
    sum += latency.ms;
  return sum / static_cast<double>(latencies_.size());
}
