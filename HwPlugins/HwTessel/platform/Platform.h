// What the link needs of the operating system: the device list, the port, sleep, tick and debug output.
// posix/ or windows/ is linked in, or, in the tests, a simulated platform with a virtual clock.
//
// Threads: one at a time.
// Errors: a failed operation carries the system's own error number. The port operations accept any handle,
// and fail with `invalidHandle` for one that is not open. Nothing throws but for memory.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace platform {

// The name under which the dongle's driver shows it in the device list.
inline constexpr const char* dongleName = "Bluegiga Bluetooth Low Energy";

using PortHandle = std::uint64_t;

// The handle of no port: all bits set.
inline constexpr PortHandle closedPort = ~PortHandle{0};

// The error number of an operation on a handle that is not open; the same on every platform.
inline constexpr std::uint32_t invalidHandle = 6;

// Time-outs of a port in ms, after the fields of the Windows record of the same purpose. A read's total
// time-out is the multiplier times its byte count plus the constant; a write's likewise, with 0 for none at
// all.
struct PortTimeouts {
  std::uint32_t readInterval = 0;  // longest gap between bytes; the library only sets `noInterval`
  std::uint32_t readTotalMultiplier = 0;
  std::uint32_t readTotalConstant = 0;
  std::uint32_t writeTotalMultiplier = 0;
  std::uint32_t writeTotalConstant = 0;

  friend bool operator==(const PortTimeouts&, const PortTimeouts&) = default;
};

// A read interval that leaves the total time-out alone to end a read.
inline constexpr std::uint32_t noInterval = 0xFFFFFFFF;

// Two whole words, so that it comes back in registers: three of these are made for each read of the link.
struct PortResult {
  static constexpr std::int64_t none = -1;

  std::uint64_t count = 0;    // bytes moved
  std::int64_t error = none;  // the system's number if the operation failed; it may be 0 even then

  bool ok() const { return error == none; }
};

// The friendly texts of the ports that are present, in the system's order; nothing if there is no list to be
// had.
std::optional<std::vector<std::string>> presentPorts();

// Opens a port by its device path, "\\.\COMn" on every platform; `closedPort` if it can't be opened. A port
// that is open already can't, whether this program or another one holds it. Where the system does not number
// its ports, only a dongle's has such a path.
PortHandle openPort(const char* devicePath);
void closePort(PortHandle port);

// Cancels pending reads and throws away what was received and not yet read; what is being sent goes on.
PortResult purgeReceived(PortHandle port);

PortResult getTimeouts(PortHandle port, PortTimeouts& timeouts);
PortResult setTimeouts(PortHandle port, const PortTimeouts& timeouts);

// Waits until the buffer is full or the total time-out has passed, and delivers what came; with a total
// time-out of 0 what is there. A port whose device is gone delivers what it still has, and then fails.
PortResult readPort(PortHandle port, std::span<std::uint8_t> buffer);

// Writes as much as the device takes within the timeout. Fails if that is nothing.
PortResult writePort(PortHandle port, std::span<const std::uint8_t> bytes);

// Milliseconds since some moment, wrapping.
std::uint32_t tickCount();
void sleep(std::uint32_t milliseconds);

// Shows a text to a developer who is looking; never to the user.
void debugOutput(const char* text);

}  // namespace platform
