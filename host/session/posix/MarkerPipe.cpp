#include "host/session/posix/MarkerPipe.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/Text.h"
#include "host/base/posix/Repeated.h"

namespace fs = std::filesystem;

namespace {

constexpr int commonFlags = O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;

[[noreturn]] void fail(const fs::path& path, const std::string& reason, const std::string& advice)
{
  throw Failure(ExitCode::output, fmt::format("the markers' FIFO {} can't be made: {}.", utf8(path), reason),
                advice);
}

[[noreturn]] void failWithError(const fs::path& path, int error)
{
  fail(path, std::generic_category().message(error),
       error == ENOENT
           ? "Its folder does not exist: create it, or choose another name with --markers."
           : "Choose another name with --markers, in a folder on this computer that you may write to.");
}

bool hasReader(const fs::path& fifo)
{
  const int writer = host::repeated([&] { return ::open(fifo.c_str(), O_WRONLY | commonFlags); });
  if (writer >= 0) ::close(writer);
  return writer >= 0 || errno != ENXIO;
}

void checkExisting(const fs::path& path)
{
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) failWithError(path, errno);
  if (!S_ISFIFO(status.st_mode)) {
    fail(path, "the name is taken",
         "Choose another name with --markers, or delete it if it is a file that a shell made when no "
         "recording "
         "read the FIFO.");
  }
  if (status.st_uid != ::geteuid() || hasReader(path)) {
    fail(path, "another program or user has a FIFO of this name", "Choose another name with --markers.");
  }
}

}  // namespace

MarkerPipe::MarkerPipe(const fs::path& path) : path_(path)
{
  if (path.empty()) return;
  const bool isMade = ::mkfifo(path.c_str(), 0600) == 0;
  if (!isMade && errno != EEXIST) failWithError(path, errno);
  if (!isMade) checkExisting(path);
  // As a writer, too, so that there is no end of the input when the last other one closes it.
  descriptor_ = host::repeated([&] { return ::open(path.c_str(), O_RDWR | commonFlags); });
  if (descriptor_ >= 0) return;
  const int error = errno;
  if (isMade) ::unlink(path.c_str());
  failWithError(path, error);
}

MarkerPipe::~MarkerPipe()
{
  if (descriptor_ < 0) return;
  struct stat own {};
  struct stat named {};
  bool isDone = ::fstat(descriptor_, &own) == 0 && ::lstat(path_.c_str(), &named) == 0;
  const bool isStillHere = isDone && own.st_dev == named.st_dev && own.st_ino == named.st_ino;
  if (isStillHere) isDone = ::unlink(path_.c_str()) == 0;
  if (!isDone && errno != ENOENT) {
    console::notice(fmt::format("the markers' FIFO {} can't be deleted: {}. Delete it by hand.", utf8(path_),
                                std::generic_category().message(errno)));
  }
  ::close(descriptor_);
}
