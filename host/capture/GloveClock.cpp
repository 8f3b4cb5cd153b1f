#include "host/capture/GloveClock.h"

#include <utility>

void GloveClock::frameBegins(std::int64_t ticks, DeviceTime::Time arrival)
{
  // A clock that steps back was set, or is better known now.
  if (ticks <= latestTicks_) time_.restart();
  latestTicks_ = ticks;
  time_.addArrival(ticks, arrival);
}

void GloveClock::connectionBegins()
{
  const auto address = decoder_.address(glove_);
  const bool isSameGlove = address == std::exchange(address_, address);
  if (isSameGlove) {
    time_.restart();
  } else {
    time_.forgetClock();
  }
}
