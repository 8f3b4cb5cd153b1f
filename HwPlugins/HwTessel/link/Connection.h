// The steps of opening the link, in the order in which BleDevice::open runs them.
//
// Threads: the thread that runs the link. The steps wait by receiving messages, whose handlers change the
// states. A failed step leaves port and modules as they are. Exceptions of handlers are passed on.
#pragma once

#include "link/Modules.h"
#include "link/OpeningResult.h"
#include "link/Transport.h"

enum class [[nodiscard]] ScanResult : std::int32_t{
    done = 0,
    notEnded = 1,      // the dongle did not confirm the end
    refused = 100,     // the dongle refused to discover
    linkLost = 150,    // no device, stopped, or port closed
    unanswered = 200,  // the dongle did not accept in time
};

// Finds the dongle, resets it, and opens its port when it is back; `noDongle` or `portRefused` otherwise.
// Looks for the port once before and up to six times after the reset, and tries up to six times to open it
// each time, 500 ms apart. Ignores the stop flag.
OpeningResult openDongle(Transport& transport);

// Starts discovery and enters the gloves that the dongle reports in `modules`. Works on the current device.
ScanResult scanForModules();

// Connects the module at this index, which must be within the table. Results as for waitForState.
OpeningResult connectModule(Transport& transport, std::uint32_t index);

// Counts a module that connectModule has connected. `notConfigurable` if its CCCD was not found.
OpeningResult countModule(std::uint32_t index);

// Receives until a message leaves the module in the wanted state; otherwise `stopped`, `portFailed` or
// `moduleTimedOut`. Silence and unknown messages do not end the wait early, and a state that is already
// reached is noticed only with the next message. An index outside the table fails an assertion; without
// assertions it returns `portFailed`.
OpeningResult waitForState(Transport& transport, std::uint32_t index, ConnectionState wanted,
                           std::int32_t timeoutMs);
