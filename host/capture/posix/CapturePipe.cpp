#include "host/capture/CapturePipe.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "host/base/Failure.h"
#include "host/base/posix/Repeated.h"

CapturePipe::CapturePipe(const std::filesystem::path& folder) : name_((folder / "capture").string())
{
  constexpr int wantedSize = 1024 * 1024;
  const bool isMade = ::mkfifo(name_.c_str(), 0600) == 0;
  if (isMade)
    handle_ = host::repeated([&] { return ::open(name_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); });
  if (handle_ < 0) {
    const int error = errno;
    if (isMade) ::unlink(name_.c_str());
    throw Failure(
        ExitCode::output,
        fmt::format("the pipe {} can't be made: {}.", name_, std::generic_category().message(error)),
        "Set TMPDIR to a folder on a file system that supports FIFOs.");
  }
  // Where the system allows less, the usual size suffices unless this program is delayed.
  ::fcntl(static_cast<int>(handle_), F_SETPIPE_SZ, wantedSize);
}

CapturePipe::~CapturePipe()
{
  ::close(static_cast<int>(handle_));
  ::unlink(name_.c_str());
}

void CapturePipe::renew()
{
  // Writers of a FIFO come and go.
}

std::size_t CapturePipe::read(std::span<std::uint8_t> buffer)
{
  const ssize_t count = ::read(static_cast<int>(handle_), buffer.data(), buffer.size());
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}
