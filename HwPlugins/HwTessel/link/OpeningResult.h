// Results of opening the link. The values are visible to hosts: HWTessel puts them into its messages.
#pragma once

#include <cstdint>

enum class [[nodiscard]] OpeningResult : std::int32_t{
    done = 0,
    noDongle = -1,
    portRefused = -2,     // another program may hold it
    firmwareTooOld = -3,  // the dongle's
    stopped = -4,         // stop flag raised
    startFailed = -5,     // a module did not confirm its notifications
    portFailed = 20,      // while connecting a module
    modulesMissing = 30,  // plus the number found
    wrongResponse = 40,   // has a message, but no step returns it; likewise the next one
    signalled = 50,
    moduleTimedOut = 60,   // while connecting a module
    notConfigurable = 70,  // a module without a CCCD
    sensorFault = 80,      // plus the index of the module
    statusMissing = 89,    // a module did not report its sensor status
};

// A result with an offset: a count or an index.
constexpr OpeningResult operator+(OpeningResult base, std::int32_t offset)
{
  return static_cast<OpeningResult>(static_cast<std::int32_t>(base) + offset);
}
