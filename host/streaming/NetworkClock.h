// Maps host::uptime() onto another clock of this computer and back. Threads: one.
#pragma once

#include <chrono>
#include <functional>

#include "host/base/System.h"

class NetworkClock {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  // `clock`: in seconds.
  explicit NetworkClock(std::function<double()> clock, std::function<Time()> uptime = host::uptime);

  // Call it now and then: measures again after a second, since one of the clocks may stop while the computer
  // is suspended.
  void keepUp();

  double at(Time time) const { return std::chrono::duration<double>(time).count() + offset_; }
  Time uptimeAt(double seconds) const;

 private:
  void measure();

  const std::function<double()> clock_;
  const std::function<Time()> uptime_;
  Time measured_{0};
  double offset_ = 0;  // seconds
};
