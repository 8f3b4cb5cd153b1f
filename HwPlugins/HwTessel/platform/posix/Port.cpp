// Serial ports as POSIX terminals. A port is opened raw and exclusively, without becoming the controlling
// terminal; its speed stays as the driver set it. Received bytes are read in large blocks into a buffer of
// the port.

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <memory>
#include <string_view>

#include "platform/Platform.h"
#include "platform/posix/PortList.h"
#include "platform/posix/Repeated.h"

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;
using posix::repeated;

struct Port {
  PortHandle handle = closedPort;
  int descriptor = -1;
  Port* next = nullptr;
  PortTimeouts timeouts{};
  std::array<std::uint8_t, 4096> received{};
  std::size_t firstUnread = 0;
  std::size_t endOfReceived = 0;

  std::size_t unread() const { return endOfReceived - firstUnread; }
};

// All open ports. An intrusive list, because ports may have to be closed while the library's other statics
// are already being destroyed.
constinit Port* openPorts = nullptr;
constinit PortHandle lastHandle = 0;

Port* find(PortHandle handle)
{
  Port* port = openPorts;
  while (port != nullptr && port->handle != handle) {
    port = port->next;
  }
  return port;
}

PortResult moved(std::size_t count)
{
  return {.count = count};
}
PortResult failed(std::uint32_t error)
{
  return {.error = error};
}
PortResult failedSystem()
{
  return failed(static_cast<std::uint32_t>(errno));
}

std::optional<std::filesystem::path> pathOf(std::string_view devicePath)
{
  constexpr std::string_view prefix = "\\\\.\\COM";
  if (!devicePath.starts_with(prefix)) return std::nullopt;
  devicePath.remove_prefix(prefix.size());
  const char* const last = devicePath.data() + devicePath.size();
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(devicePath.data(), last, number);
  if (error != std::errc() || end != last) return std::nullopt;
  return posix::donglePath(number);
}

bool isPseudoTerminal(int descriptor)
{
  constexpr unsigned firstSlaveMajor = 136;
  constexpr unsigned lastSlaveMajor = 143;
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return false;
  const unsigned kind = major(status.st_rdev);
  return kind >= firstSlaveMajor && kind <= lastSlaveMajor;
}

// The lock excludes programs that also lock, including this one; TIOCEXCL excludes the others. A pseudo
// terminal is not marked: the mark would outlive a killed program and lock out its next run.
bool claim(int descriptor)
{
  if (repeated([&] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) != 0) return false;
  return isPseudoTerminal(descriptor) || repeated([&] { return ::ioctl(descriptor, TIOCEXCL); }) == 0;
}

bool makeRaw(int descriptor)
{
  termios settings{};
  if (repeated([&] { return ::tcgetattr(descriptor, &settings); }) != 0) return false;
  ::cfmakeraw(&settings);
  settings.c_cflag |= CLOCAL | CREAD;
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  return repeated([&] { return ::tcsetattr(descriptor, TCSANOW, &settings); }) == 0;
}

std::size_t takeReceived(Port& port, std::span<std::uint8_t> buffer)
{
  const std::size_t count = std::min(port.unread(), buffer.size());
  std::copy_n(port.received.data() + port.firstUnread, count, buffer.data());
  port.firstUnread += count;
  return count;
}

// Waits for the descriptor until the deadline, or without limit if there is none. False when the deadline has
// passed.
bool waitFor(int descriptor, short events, std::optional<Clock::time_point> deadline)
{
  pollfd wanted{.fd = descriptor, .events = events, .revents = 0};
  for (;;) {
    int timeoutMs = -1;
    if (deadline) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
      if (left.count() <= 0) return false;
      timeoutMs = static_cast<int>(std::min<std::int64_t>(left.count(), 60'000));
    }
    const int ready = ::poll(&wanted, 1, timeoutMs);
    if (ready > 0 || (ready < 0 && errno != EINTR)) return true;
  }
}

std::chrono::milliseconds totalTimeout(std::uint32_t multiplier, std::size_t count, std::uint32_t constant)
{
  return std::chrono::milliseconds(std::uint64_t{multiplier} * count + constant);
}

}  // namespace

PortHandle openPort(const char* devicePath)
{
  const auto path = pathOf(devicePath);
  if (!path) return closedPort;
  auto port = std::make_unique<Port>();
  port->descriptor =
      repeated([&] { return ::open(path->c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC); });
  if (port->descriptor < 0) return closedPort;
  if (!claim(port->descriptor) || !makeRaw(port->descriptor)) {
    ::close(port->descriptor);
    return closedPort;
  }
  port->handle = ++lastHandle;
  port->next = openPorts;
  openPorts = port.release();
  return openPorts->handle;
}

void closePort(PortHandle handle)
{
  Port** link = &openPorts;
  while (*link != nullptr && (*link)->handle != handle) {
    link = &(*link)->next;
  }
  Port* const port = *link;
  if (port == nullptr) return;
  *link = port->next;
  ::close(port->descriptor);
  delete port;
}

PortResult purgeReceived(PortHandle handle)
{
  Port* const port = find(handle);
  if (port == nullptr) return failed(invalidHandle);
  port->firstUnread = port->endOfReceived = 0;
  return repeated([&] { return ::tcflush(port->descriptor, TCIFLUSH); }) == 0 ? moved(0) : failedSystem();
}

PortResult getTimeouts(PortHandle handle, PortTimeouts& timeouts)
{
  const Port* const port = find(handle);
  if (port == nullptr) return failed(invalidHandle);
  timeouts = port->timeouts;
  return moved(0);
}

PortResult setTimeouts(PortHandle handle, const PortTimeouts& timeouts)
{
  Port* const port = find(handle);
  if (port == nullptr) return failed(invalidHandle);
  port->timeouts = timeouts;
  return moved(0);
}

PortResult readPort(PortHandle handle, std::span<std::uint8_t> buffer)
{
  Port* const port = find(handle);
  if (port == nullptr) return failed(invalidHandle);
  std::size_t count = takeReceived(*port, buffer);
  if (count == buffer.size()) return moved(count);

  const PortTimeouts& timeouts = port->timeouts;
  const auto deadline =
      Clock::now() + totalTimeout(timeouts.readTotalMultiplier, buffer.size(), timeouts.readTotalConstant);
  while (count < buffer.size()) {
    const ssize_t got = ::read(port->descriptor, port->received.data(), port->received.size());
    if (got > 0) {
      port->firstUnread = 0;
      port->endOfReceived = static_cast<std::size_t>(got);
      count += takeReceived(*port, buffer.subspan(count));
    } else if (got < 0 && errno == EAGAIN) {
      if (!waitFor(port->descriptor, POLLIN, deadline)) break;
    } else if (got == 0 || errno != EINTR) {
      // The device is gone: end of file never occurs on a live terminal.
      if (count > 0) break;
      return got == 0 ? failed(EIO) : failedSystem();
    }
  }
  return moved(count);
}

std::size_t receivedInProcess(PortHandle handle)
{
  const Port* const port = find(handle);
  return port == nullptr ? 0 : port->unread();
}

PortResult writePort(PortHandle handle, std::span<const std::uint8_t> bytes)
{
  const Port* const port = find(handle);
  if (port == nullptr) return failed(invalidHandle);
  const auto timeout =
      totalTimeout(port->timeouts.writeTotalMultiplier, bytes.size(), port->timeouts.writeTotalConstant);
  const auto deadline = timeout.count() == 0 ? std::nullopt : std::optional(Clock::now() + timeout);
  std::size_t count = 0;
  while (count < bytes.size()) {
    const ssize_t written = ::write(port->descriptor, bytes.data() + count, bytes.size() - count);
    if (written >= 0) {
      count += static_cast<std::size_t>(written);
    } else if (errno == EAGAIN) {
      if (waitFor(port->descriptor, POLLOUT, deadline)) continue;
      return count > 0 ? moved(count) : failed(ETIMEDOUT);
    } else if (errno != EINTR) {
      return failedSystem();
    }
  }
  return moved(count);
}

}  // namespace platform
