// A random recording: gloves, their settings, and what happens meanwhile. The same seed yields the same plan.
#pragma once

#include <cstdint>

#include "tests/support/VirtualRecording.h"

RecordingPlan randomPlan(std::uint64_t seed);
