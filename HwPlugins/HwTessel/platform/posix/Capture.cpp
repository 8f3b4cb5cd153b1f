// The target of a capture as a FIFO or a regular file, and its clocks.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <system_error>

#include "platform/Platform.h"
#include "platform/posix/Repeated.h"

namespace platform {

namespace {

constinit int target = -1;
constinit bool isFile = false;
constinit int openingError = 0;

const char* targetPath()
{
  const char* const path = std::getenv("TESSEL_CAPTURE");
  return path != nullptr && *path != '\0' ? path : nullptr;
}

std::int64_t nanoseconds(clockid_t clock)
{
  constexpr std::int64_t perSecond = 1'000'000'000;
  timespec time{};
  ::clock_gettime(clock, &time);
  return time.tv_sec * perSecond + time.tv_nsec;
}

// False with the reason in errno; 0 if the path is neither a FIFO nor a file.
bool open(const char* path)
{
  struct stat status {};
  const bool exists = ::stat(path, &status) == 0;
  if (!exists && errno != ENOENT) return false;
  errno = 0;
  if (exists && !S_ISFIFO(status.st_mode) && !S_ISREG(status.st_mode)) return false;
  // Open for both directions, a FIFO always has a reader: opening neither waits nor fails, and writing raises
  // no signal. Bytes stay in it until the reader comes back.
  const bool isFifo = exists && S_ISFIFO(status.st_mode);
  const int flags = isFifo ? O_RDWR | O_NONBLOCK : O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK;
  target = posix::repeated([&] { return ::open(path, flags | O_NOCTTY | O_CLOEXEC, 0666); });
  if (target < 0 || ::fstat(target, &status) != 0) return false;
  isFile = S_ISREG(status.st_mode);
  errno = 0;
  if (isFifo != S_ISFIFO(status.st_mode) || isFifo == isFile) return false;
  return posix::repeated([] { return ::flock(target, LOCK_EX | LOCK_NB); }) == 0;
}

// A write beyond the process's file size limit would end the host with a signal.
std::size_t spaceWithinLimit(std::size_t wanted)
{
  rlimit limit{};
  struct stat status {};
  if (::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return wanted;
  if (::fstat(target, &status) != 0) return 0;
  const auto size = static_cast<rlim_t>(status.st_size);
  return size >= limit.rlim_cur ? 0 : std::min<std::size_t>(wanted, limit.rlim_cur - size);
}

}  // namespace

std::int64_t uptimeNs()
{
  return nanoseconds(CLOCK_BOOTTIME);  // CLOCK_MONOTONIC stops while the computer is suspended
}

std::int64_t wallClockNs()
{
  return nanoseconds(CLOCK_REALTIME);
}

CaptureOpening openCapture()
{
  const char* const path = targetPath();
  if (path == nullptr) return CaptureOpening::off;
  if (open(path)) return CaptureOpening::open;
  openingError = errno;
  closeCapture();
  return CaptureOpening::failed;
}

std::string captureError()
{
  const char* const path = targetPath();
  const std::string reason = openingError == 0             ? "it is neither a FIFO nor a regular file"
                             : openingError == EWOULDBLOCK ? "another process is writing to it"
                                                           : std::generic_category().message(openingError);
  return std::string("The capture TESSEL_CAPTURE=") + (path == nullptr ? "" : path) +
         " can't be opened: " + reason + ".";
}

std::size_t writeCapture(std::span<const std::uint8_t> bytes)
{
  const std::size_t wanted = isFile ? spaceWithinLimit(bytes.size()) : bytes.size();
  std::size_t count = 0;
  while (count < wanted) {
    const ssize_t written =
        posix::repeated([&] { return ::write(target, bytes.data() + count, wanted - count); });
    if (written <= 0) break;
    count += static_cast<std::size_t>(written);
  }
  return count;
}

void closeCapture()
{
  if (target >= 0) ::close(target);
  target = -1;
}

}  // namespace platform
