#include "host/capture/DeviceTime.h"

void DeviceTime::addArrival(std::int64_t, Time) {}

DeviceTime::Time DeviceTime::timeOf(std::int64_t ticks)
{
  return ticks * std::chrono::microseconds{100};
}

void DeviceTime::restart() {}

double DeviceTime::residualMs() const
{
  return 0;
}

double DeviceTime::clockError() const
{
  return 0;
}
