// The doctor's steps over the computer itself; nothing is sent to the dongle.
// Errors: throw only std::bad_alloc.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/doctor/Step.h"
#include "host/doctor/SystemFacts.h"

// `system`: operating system, kernel and architecture. Never fails.
Step systemStep(const SystemFacts& facts);

// `ports-variable`, `usb`, `driver`, `port`, `rights`, `holder` and `modem-manager`; on Windows `usb` and
// `port`. What an earlier failure makes meaningless is skipped.
std::vector<Step> hardwareSteps(const SystemFacts& facts);

// `system` and the hardware steps, which are skipped if the gloves are simulated.
std::vector<Step> computerSteps(const SystemFacts& facts, bool isSimulated);

// `computer`: load, processor frequency, memory and USB autosuspend. Never fails.
Step loadStep(const SystemFacts& facts);
