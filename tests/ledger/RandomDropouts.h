// A random session: gloves and dongle are lost and come back, packets are lost, come twice or change places.
// The same seed yields the same plan.
#pragma once

#include <cstdint>

#include "tests/ledger/VirtualSession.h"

// Seconds from one dropout to the next: long enough for what was lost in a short one to become known.
inline constexpr double dropoutInterval = 72;

SessionPlan randomDropouts(std::uint64_t seed, double seconds);
