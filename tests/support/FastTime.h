// The platform's time for tests that open a real terminal over and over: sleeping lasts until the simulated
// gloves' clock has moved on by as much, so that it is as quick as they are, and still long enough on a busy
// machine. All other waits are real. FastTime.cpp is linked in place of platform/posix/Time.cpp.
#pragma once

#include "simulator/VirtualClock.h"

namespace fast_time {

// To be called once, before the clock runs; it is followed from then on.
void follow(VirtualClock& clock);

}  // namespace fast_time
