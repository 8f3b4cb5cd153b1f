// The dongle's serial port: found by friendly name, opened, read and written with timeouts and a stop flag.
// Independent of the meaning of the bytes.
//
// Threads: the thread that runs the link. Only the stop flag may be raised by another thread at any time;
// while it is nonzero, reads and writes stop before their next call to the operating system, not during a
// wait.
// Errors: results, see below. A failed open leaves the handle closed. Nothing is logged.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>

#include "platform/Platform.h"

// Relaxed order suffices: no other data depends on it.
using StopFlag = std::atomic<std::uint32_t>;

enum class [[nodiscard]] OpenResult : std::int32_t{done = 0, failed = -1, timeoutsFailed = -2,
                                                   purgeFailed = -3};

enum class [[nodiscard]] ReadResult : std::int32_t{
    filled = 1,    // the whole buffer
    nothing = 0,   // a read returned nothing
    failed = -1,   // the operating system reported an error
    stopped = -2,  // closed handle, or stop flag raised
};

// Any other value is the operating system's error number.
enum class [[nodiscard]] WriteResult : std::int32_t{done = 0, stopped = -2};

// The number n of the first present port whose friendly text is `friendlyName (COMn)`; -1 if there is none or
// no device list. Whatever follows the digits is ignored.
std::int32_t serialFindPort(const std::string& friendlyName);

// Prints the friendly texts of all present dongles to standard output, one per line.
void serialListPorts();

// Opens the port, for example "COM7", empties its receive buffer and sets the timeouts; an open handle is
// closed first. `failed`: it can't be opened. The line parameters stay as the driver set them.
OpenResult serialOpen(const std::string& portName, platform::PortHandle& handle);

// Fills the buffer. `nothing` if one read of the operating system returned nothing within `timeoutMs` (bytes
// read earlier in this call are then lost) or if the buffer is empty. Each such read has the whole timeout.
// Without a flag it can't be stopped.
ReadResult serialRead(platform::PortHandle handle, const StopFlag* stopFlag, std::span<std::uint8_t> buffer,
                      std::uint32_t timeoutMs);

// Writes all bytes, waiting up to 3 s for the device to accept any.
WriteResult serialWrite(platform::PortHandle handle, const StopFlag& stopFlag,
                        std::span<const std::uint8_t> bytes);

// Discards received bytes that were not read.
platform::PortResult serialPurge(platform::PortHandle handle);

// Sets the handle to `closedPort`.
void serialClose(platform::PortHandle& handle);

// False only if the operating system no longer knows the handle.
bool serialIsAlive(platform::PortHandle handle);
