// The steps of opening the link. BleDevice::open puts them together.
//
// Threads: the thread that runs the link. They wait by receiving messages, whose handlers move the states.
// A failed step leaves port and modules as they are. What a handler throws passes through.
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

// Finds the dongle, resets it, and opens its port when it is back. `noDongle` or
// `portRefused` if not. Looks for the port once, and after the reset up to six times; tries to open it up to
// six times each; 500 ms apart. Does not look at the stop flag.
OpeningResult openDongle(Transport& transport);

// Has the dongle discover, and enters the gloves it hears of in `modules`. Works on the current device.
ScanResult scanForModules();

// Connects the module at this index of the table, which must be in it. What waitForState returns.
OpeningResult connectModule(Transport& transport, std::uint32_t index);

// Takes a module that connectModule connected into the count. `notConfigurable` if
// its configuration attribute was not found.
OpeningResult countModule(std::uint32_t index);

// Receives until a message leaves the module in the wanted state. Otherwise `stopped`,
// `portFailed` or `moduleTimedOut`. Silence and unknown messages do not end the wait before its time, and a
// state that is right from the start is noticed with the next message. An index outside the table fails an
// assertion; without assertions it returns `portFailed`.
OpeningResult waitForState(Transport& transport, std::uint32_t index, ConnectionState wanted,
                           std::int32_t timeoutMs);
