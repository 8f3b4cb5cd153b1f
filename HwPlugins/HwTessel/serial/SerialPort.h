// The dongle's serial port: found by friendly name, opened, read and written with timeouts and a stop flag.
// Knows nothing of what the bytes mean.
//
// Threads: the thread that runs the link. The stop flag alone may be raised by another thread at any moment;
// a nonzero flag makes reads and writes give up before they next go to the system, not in the middle of a
// wait.
// Errors: results, see below. A failed open leaves the handle closed. Nothing is logged.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>

#include "platform/Platform.h"

// Used with relaxed order: it carries no data but itself.
using StopFlag = std::atomic<std::uint32_t>;

enum class [[nodiscard]] OpenResult : std::int32_t{done = 0, failed = -1, timeoutsFailed = -2,
                                                   purgeFailed = -3};

enum class [[nodiscard]] ReadResult : std::int32_t{
    filled = 1,    // the whole buffer
    nothing = 0,   // a read delivered nothing
    failed = -1,   // the system refused
    stopped = -2,  // closed handle, or stop flag raised
};

// Any other value is the system's error number.
enum class [[nodiscard]] WriteResult : std::int32_t{done = 0, stopped = -2};

// The number n of the first present port whose friendly text reads `friendlyName (COMn)`; -1 if there is none
// or the device list can't be had. What follows the digits is not looked at.
std::int32_t serialFindPort(const std::string& friendlyName);

// Prints the friendly texts of all present dongles on standard output, a line each.
void serialListPorts();

// Opens the port, for example "COM7", empties its receive buffer and sets the timeouts; an open handle is
// closed first. `failed`: it can't be opened. The line parameters are left as the driver has them.
OpenResult serialOpen(const std::string& portName, platform::PortHandle& handle);

// Fills the buffer. `nothing` if a read of the system delivered nothing in `timeoutMs` (what came before in
// this call is then lost) or the buffer is empty. A null flag can't stop it. Each read of the system has the
// whole timeout.
ReadResult serialRead(platform::PortHandle handle, const StopFlag* stopFlag, std::span<std::uint8_t> buffer,
                      std::uint32_t timeoutMs);

// Writes all bytes, waiting up to 3 s for the device to take any.
WriteResult serialWrite(platform::PortHandle handle, const StopFlag& stopFlag,
                        std::span<const std::uint8_t> bytes);

// Leaves `closedPort` behind.
void serialClose(platform::PortHandle& handle);

// False only if the system no longer knows the handle.
bool serialIsAlive(platform::PortHandle handle);
