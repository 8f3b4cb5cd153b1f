#include "host/base/UnbufferedFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "host/base/posix/Repeated.h"

namespace host {

namespace {

bool isFifo(const std::filesystem::path& path)
{
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
}

// Of a FIFO without a reader the system would wait for ever; one that is just being started is waited for.
int openForWriting(const std::filesystem::path& path, int flags)
{
  constexpr int attempts = 100;
  constexpr int pauseMs = 20;
  for (int attempt = 1;; ++attempt) {
    const int descriptor = repeated([&] { return ::open(path.c_str(), flags | O_NONBLOCK, 0666); });
    if (descriptor >= 0) {
      ::fcntl(descriptor, F_SETFL, flags & O_APPEND);
      return descriptor;
    }
    if (errno != ENXIO || attempt == attempts || !isFifo(path)) return descriptor;
    ::poll(nullptr, 0, pauseMs);
  }
}

}  // namespace

struct UnbufferedFile::Stream {
  int descriptor = -1;
};

UnbufferedFile::UnbufferedFile() : stream_(std::make_unique<Stream>()) {}

UnbufferedFile::~UnbufferedFile()
{
  (void)close();
}

bool UnbufferedFile::open(const std::filesystem::path& path, Content content)
{
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (content == Content::appended ? O_APPEND : O_TRUNC);
  stream_->descriptor = openForWriting(path, flags);
  return stream_->descriptor >= 0;
}

void UnbufferedFile::useStandardOutput()
{
  stream_->descriptor = STDOUT_FILENO;
}

bool UnbufferedFile::write(std::string_view bytes)
{
  if (stream_->descriptor == STDOUT_FILENO && std::fflush(stdout) != 0) return false;
  while (!bytes.empty()) {
    const ssize_t count = ::write(stream_->descriptor, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      // A program that shares standard output made it so.
      pollfd output{.fd = stream_->descriptor, .events = POLLOUT, .revents = 0};
      ::poll(&output, 1, -1);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void UnbufferedFile::cut(std::uint64_t size)
{
  struct stat status {};
  if (::fstat(stream_->descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return;
  const auto end = static_cast<off_t>(size);
  if (repeated([&] { return ::ftruncate(stream_->descriptor, end); }) == 0)
    ::lseek(stream_->descriptor, end, SEEK_SET);
}

bool UnbufferedFile::close()
{
  const int descriptor = stream_->descriptor;
  stream_->descriptor = -1;
  if (descriptor < 0 || descriptor == STDOUT_FILENO) return true;
  // Linux has closed it even then.
  return ::close(descriptor) == 0 || errno == EINTR;
}

}  // namespace host
