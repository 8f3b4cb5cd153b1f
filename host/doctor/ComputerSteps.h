// The doctor's steps over the computer itself; nothing is sent to the dongle.
// Errors: throw only std::bad_alloc.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/doctor/Step.h"
#include "host/doctor/SystemFacts.h"

// `system`, `ports-variable`, `usb`, `driver`, `port`, `rights`, `holder`, `modem-manager`; on Windows
// `system`, `usb` and `port`. With simulated gloves only `system`; the others are skipped. So are steps that
// an earlier failure makes meaningless.
std::vector<Step> computerSteps(const SystemFacts& facts, bool isSimulated);

// `computer`: load, processor frequency, memory and USB autosuspend. Never fails.
Step loadStep(const SystemFacts& facts);
