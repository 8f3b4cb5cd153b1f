// The link's interface to the operating system: device list, port, time, capture and debug
// output. A program
// links posix/ or windows/, a test a simulated platform with a virtual clock.
//
// Threads: one at a time.
// Errors: a failed operation returns the operating system's own error number. Port operations accept any
// handle and fail with `invalidHandle` for one that is not open. Throws only std::bad_alloc.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace platform {

// The dongle's name in the device list, set by its driver.
inline constexpr const char* dongleName = "Bluegiga Bluetooth Low Energy";
// Its USB ids.
inline constexpr const char* dongleVendor = "2458";
inline constexpr const char* dongleProduct = "0001";

using PortHandle = std::uint64_t;

// Not a port: all bits set.
inline constexpr PortHandle closedPort = ~PortHandle{0};

// The error number of an operation on a handle that is not open; the same on every platform.
inline constexpr std::uint32_t invalidHandle = 6;

// Timeouts of a port in ms, named after the fields of the Windows structure of the same purpose. The total
// timeout of a read is the multiplier times its byte count plus the constant; that of a write likewise, with
// 0 for no limit.
struct PortTimeouts {
  std::uint32_t readInterval = 0;  // largest gap between bytes; the library only sets `noInterval`
  std::uint32_t readTotalMultiplier = 0;
  std::uint32_t readTotalConstant = 0;
  std::uint32_t writeTotalMultiplier = 0;
  std::uint32_t writeTotalConstant = 0;

  friend bool operator==(const PortTimeouts&, const PortTimeouts&) = default;
};

// A read interval without effect: only the total timeout ends a read.
inline constexpr std::uint32_t noInterval = 0xFFFFFFFF;

// Two machine words, so that it is returned in registers: each read of the link makes three of these.
struct PortResult {
  static constexpr std::int64_t none = -1;

  std::uint64_t count = 0;    // bytes moved
  std::int64_t error = none;  // the operating system's number if the operation failed; may be 0 even then

  bool ok() const { return error == none; }
};

// The friendly texts of the ports present, in the operating system's order; nothing if there is no device
// list.
std::optional<std::vector<std::string>> presentPorts();

// Opens a port by its device path, "\\.\COMn" on every platform; `closedPort` if that fails. A port that this
// program or another one has open can't be opened. Where the operating system does not number its ports, only
// a dongle has such a path.
PortHandle openPort(const char* devicePath);
void closePort(PortHandle port);

// Cancels pending reads and discards received bytes that were not read; sending continues.
PortResult purgeReceived(PortHandle port);

PortResult getTimeouts(PortHandle port, PortTimeouts& timeouts);
PortResult setTimeouts(PortHandle port, const PortTimeouts& timeouts);

// Waits until the buffer is full or the total timeout has passed, and returns what has arrived; a total
// timeout of 0 does not wait. A port whose device is gone first returns its remaining bytes, then fails.
PortResult readPort(PortHandle port, std::span<std::uint8_t> buffer);

// Writes as much as the device accepts within the timeout; fails if it accepts nothing.
PortResult writePort(PortHandle port, std::span<const std::uint8_t> bytes);

// Bytes of the port that are already in this process, so that a read of no more of them never waits or asks
// the operating system.
std::size_t receivedInProcess(PortHandle port);

// Milliseconds since an arbitrary moment, wrapping.
std::uint32_t tickCount();
// Nanoseconds of a monotonic clock that also advances while the computer is suspended, and since the
// beginning of 1970, UTC.
std::int64_t uptimeNs();
std::int64_t wallClockNs();
void sleep(std::uint32_t milliseconds);

// The target of a capture, named by the environment variable TESSEL_CAPTURE: a pipe (a FIFO or a Windows
// named pipe), or a file that is appended to and that no other process may write at the same time.
enum class CaptureOpening { off, open, failed };  // off: the variable is not set
CaptureOpening openCapture();
// Why it failed, in UTF-8, with the path.
std::string captureError();
// Returns how many of the first bytes the target took at once: perhaps none, if it is full or its reader is
// gone. Never waits for a reader.
std::size_t writeCapture(std::span<const std::uint8_t> bytes);
void closeCapture();

// Shows a text to a developer with a debugger, never to the user.
void debugOutput(const char* text);

}  // namespace platform
