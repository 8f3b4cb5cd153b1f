// The platform's time for tests that open a real terminal over and over: sleeping lasts until the simulated
// gloves' clock has moved on by a tenth of the time and their loop has made some turns, so that it is quick
// where they are, and still long enough on a busy machine. All other waits are real. FastTime.cpp is linked
// in place of platform/posix/Time.cpp.
#pragma once

#include "simulator/VirtualClock.h"

namespace fast_time {

// To be called once, before the clock runs; it is followed from then on. `speed`: that of PtyPort::run.
void follow(VirtualClock& clock, double speed);

}  // namespace fast_time
