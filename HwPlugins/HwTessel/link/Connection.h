// The steps of opening the link. BleDevice::open puts them together.
//
// Threads: the thread that runs the link. They wait by receiving messages, whose handlers move the states.
// A failed step leaves port and modules as they are. What a handler throws passes through.
#pragma once

#include "link/BleDevice.h"
#include "link/Modules.h"

// Results of a scan.
namespace scanning {
inline constexpr std::int32_t done = 0;
inline constexpr std::int32_t notEnded = 1;      // the dongle did not confirm the end
inline constexpr std::int32_t refused = 100;     // the dongle refused to discover
inline constexpr std::int32_t linkLost = 150;    // no device, stopped, or port closed
inline constexpr std::int32_t unanswered = 200;  // the dongle did not accept in time
}  // namespace scanning

// Finds the dongle, resets it, and opens its port when it is back. Gives `opening::done`, `noDongle` or
// `portRefused`. Looks for the port once, and after the reset up to six times; tries to open it up to six
// times each; 500 ms apart. Does not look at the stop flag.
std::int32_t openDongle(BleDevice& device);

// Has the dongle discover, and enters the gloves it hears of in `modules`. Works on the current device.
std::int32_t scanForModules();

// Connects the module at this index of the table, which must be in it. Gives `opening::done` or what
// waitForState gave.
std::int32_t connectModule(BleDevice& device, std::uint32_t index);

// Takes a module that connectModule connected into the count. Gives `opening::done`, or `notConfigurable` if
// its configuration attribute was not found.
std::int32_t countModule(std::uint32_t index);

// Receives until a message leaves the module in the wanted state. Gives `opening::done`, `stopped`,
// `portFailed` or `moduleTimedOut`. Silence and unknown messages do not end the wait before its time, and a
// state that is right from the start is noticed with the next message. An index outside the table fails an
// assertion; without assertions it gives `portFailed`.
std::int32_t waitForState(BleDevice& device, std::uint32_t index, ConnectionState wanted,
                          std::int32_t timeoutMs);
