#include "host/streaming/NetworkClock.h"

#include <utility>

namespace {

constexpr std::chrono::seconds interval{1};
constexpr int readings = 10;

}  // namespace

NetworkClock::NetworkClock(std::function<double()> clock, std::function<Time()> uptime)
    : clock_(std::move(clock)), uptime_(std::move(uptime))
{
  measure();
}

void NetworkClock::keepUp()
{
  if (uptime_() - measured_ >= interval) measure();
}

NetworkClock::Time NetworkClock::uptimeAt(double seconds) const
{
  return std::chrono::duration_cast<Time>(std::chrono::duration<double>(seconds - offset_));
}

// The narrowest of several readings between two of the uptime: the others were interrupted.
void NetworkClock::measure()
{
  Time narrowest = Time::max();
  for (int reading = 0; reading < readings; ++reading) {
    const Time before = uptime_();
    const double seconds = clock_();
    const Time width = uptime_() - before;
    if (width >= narrowest) continue;
    narrowest = width;
    offset_ = seconds - std::chrono::duration<double>(before + width / 2).count();
  }
  measured_ = uptime_();
}
