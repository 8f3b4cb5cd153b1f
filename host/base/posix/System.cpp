#include "host/base/System.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <utility>

#include "host/base/posix/Repeated.h"

namespace host {

// Of a FIFO that somebody put there, opening does not wait for a writer.
Lock::Lock(const std::filesystem::path& path)
    : handle_(repeated([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }))
{
  isHeld_ =
      handle_ >= 0 && repeated([&] { return ::flock(static_cast<int>(handle_), LOCK_EX | LOCK_NB); }) == 0;
}

Lock::~Lock()
{
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
}

namespace {

bool isOwn(int descriptor, mode_t type)
{
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && status.st_uid == ::geteuid() &&
         (status.st_mode & S_IFMT) == type && status.st_nlink > 0;
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& path, Kind kind)
{
  const int folder =
      repeated([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); });
  if (folder < 0) return;
  if (isOwn(folder, S_IFDIR)) {
    const int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const int creating = kind == Kind::fresh ? O_CREAT | O_EXCL : 0;
    handle_ = repeated([&] { return ::openat(folder, fileName, flags | creating, 0600); });
  }
  ::close(folder);
  const int file = static_cast<int>(handle_);
  // Between creating and locking the file, another run may have deleted the folder as abandoned; then the
  // locked file is unlinked.
  isHeld_ =
      file >= 0 && repeated([&] { return ::flock(file, LOCK_EX | LOCK_NB); }) == 0 && isOwn(file, S_IFREG);
}

FolderLock::~FolderLock()
{
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
}

std::vector<std::filesystem::path> namesIn(const std::filesystem::path& folder, std::error_code& error)
{
  struct Closer {
    void operator()(DIR* directory) const { ::closedir(directory); }
  };
  std::vector<std::filesystem::path> names;
  std::unique_ptr<DIR, Closer> directory;
  do {
    errno = 0;
    directory.reset(::opendir(folder.c_str()));
  } while (!directory && errno == EINTR);
  while (const dirent* const entry = directory ? ::readdir(directory.get()) : nullptr) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  error = {errno, std::generic_category()};
  return names;
}

std::error_code createFile(const std::filesystem::path& path)
{
  const int file =
      repeated([&] { return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); });
  if (file < 0) return {errno, std::generic_category()};
  ::close(file);
  return {};
}

std::error_code renameNew(const std::filesystem::path& from, const std::filesystem::path& to)
{
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return {};
  if (errno != EINVAL && errno != ENOSYS) return {errno, std::generic_category()};
  // The file system does not support RENAME_NOREPLACE.
  std::error_code error;
  if (std::filesystem::exists(to, error)) return std::make_error_code(std::errc::file_exists);
  std::filesystem::rename(from, to, error);
  return error;
}

namespace {

// What a file system says that has nothing to force to a disk.
bool hasNoDisk(int error)
{
  return error == EINVAL || error == EROFS || error == ENOSYS || error == EOPNOTSUPP;
}

}  // namespace

SyncHandle::SyncHandle(const std::filesystem::path& path)
{
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    error_ = {errno, std::generic_category()};
  } else if (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) {
    handle_ = repeated([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); });
    // A folder of which the names can't be listed can't be opened; it may still have new files.
    if (handle_ < 0 && !(S_ISDIR(status.st_mode) && errno == EACCES))
      error_ = {errno, std::generic_category()};
  }
}

SyncHandle::~SyncHandle()
{
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
}

std::error_code SyncHandle::sync()
{
  if (handle_ < 0) return error_;
  int result = 0;
  do {
    // The size of a file is forced to the disk, too; its times of access are not.
    result = ::fdatasync(static_cast<int>(handle_));
  } while (result != 0 && errno == EINTR);
  if (result == 0 || hasNoDisk(errno)) return {};
  return {errno, std::generic_category()};
}

FileBeginning::FileBeginning(const std::filesystem::path& path)
    : handle_(repeated([&] { return ::open(path.c_str(), O_WRONLY | O_CLOEXEC); })), openingError_(errno)
{
}

FileBeginning::~FileBeginning()
{
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
}

bool FileBeginning::write(std::string_view bytes)
{
  if (handle_ < 0) {
    errno = openingError_;
    return false;
  }
  for (off_t done = 0; !bytes.empty();) {
    const ssize_t count =
        repeated([&] { return ::pwrite(static_cast<int>(handle_), bytes.data(), bytes.size(), done); });
    if (count < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
    done += count;
  }
  return true;
}

void openStandardStreams()
{
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDWR);
  }
}

std::filesystem::path programFolder()
{
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

std::string waitingInput()
{
  pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  if (::poll(&input, 1, 0) <= 0) return {};
  std::array<char, 4096> characters{};
  const ssize_t count = ::read(STDIN_FILENO, characters.data(), characters.size());
  return {characters.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
}

bool isTerminal(std::FILE* stream)
{
  return ::isatty(::fileno(stream)) != 0;
}

bool takesText(std::FILE* stream)
{
  pollfd output{.fd = ::fileno(stream), .events = POLLOUT, .revents = 0};
  return ::poll(&output, 1, 0) > 0;
}

unsigned terminalWidth(std::FILE* stream)
{
  winsize size{};
  const bool isKnown = ::ioctl(::fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : 80;
}

std::chrono::nanoseconds uptime()
{
  // CLOCK_MONOTONIC stops while the computer is suspended.
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::uint64_t peakMemoryKiB()
{
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_maxrss);
}

std::thread threadWithoutSignals(std::function<void()> run)
{
  struct Blocked {
    Blocked()
    {
      sigset_t all{};
      ::sigfillset(&all);
      ::pthread_sigmask(SIG_BLOCK, &all, &previous);
    }
    ~Blocked() { ::pthread_sigmask(SIG_SETMASK, &previous, nullptr); }
    Blocked(const Blocked&) = delete;
    Blocked& operator=(const Blocked&) = delete;

    sigset_t previous{};
  };
  const Blocked inherited;
  return std::thread(std::move(run));
}

void lowerThreadPriority()
{
  // Of Linux: a thread has a nice value of its own, and 0 is the calling one.
  ::setpriority(PRIO_PROCESS, 0, 10);
}

void setEnvironment(const char* name, const std::string& value)
{
  ::setenv(name, value.c_str(), 1);
}

void unsetEnvironment(const char* name)
{
  ::unsetenv(name);
}

std::filesystem::path environmentPath(const char* name)
{
  const char* const value = std::getenv(name);
  return value == nullptr ? std::filesystem::path() : value;
}

}  // namespace host
