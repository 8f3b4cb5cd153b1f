// The platform's time for tests that open a real terminal repeatedly: a sleep lasts until the simulated
// gloves' clock has advanced by a tenth of its time and their loop has run some iterations, so that it is
// short, yet long enough on a busy machine. All other waits are real. FastTime.cpp is linked instead of
// platform/posix/Time.cpp.
#pragma once

#include "simulator/VirtualClock.h"

namespace fast_time {

// Call once, before the clock runs, to follow it. `speed`: that of PtyPort::run.
void follow(VirtualClock& clock, double speed);

}  // namespace fast_time
