// Preloaded into a program: kills it before or after one of its calls that make, name, store or remove files,
// which a kill at a random moment hardly ever meets.
//   KILL_AT=N          before (N odd) or after (N even) its call (N + 1) / 2; never without it
//   KILL_CALLS=PATH    a file that gets as many bytes as there were calls
//   KILL_PLANTED=1     a fault for the test to find: writes to files wait in memory until there are 4 KiB of
//   them

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

std::atomic<long> calls{0};

// Kills if it is the moment: two for each call.
void killIf(long moment)
{
  static const char* const wanted = std::getenv("KILL_AT");
  if (wanted != nullptr && moment == std::atol(wanted)) ::kill(::getpid(), SIGKILL);
}

template <class Action>
int between(Action&& action)
{
  static const char* const path = std::getenv("KILL_CALLS");
  static const int file = path == nullptr ? -1 : ::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const long number = ++calls;
  if (file >= 0) (void)!::ftruncate(file, number);
  killIf(2 * number - 1);
  const int result = action();
  killIf(2 * number);
  return result;
}

template <class Function>
Function* next(const char* name)
{
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

std::array<std::string, 256> held;  // by descriptor
const bool isPlanted = std::getenv("KILL_PLANTED") != nullptr;

bool isHeld(int file)
{
  struct stat status {};
  return isPlanted && file > 2 && file < static_cast<int>(held.size()) && ::fstat(file, &status) == 0 &&
         S_ISREG(status.st_mode);
}

ssize_t pass(int file)
{
  static auto* const function = next<ssize_t(int, const void*, size_t)>("write");
  const std::string bytes = std::exchange(held.at(static_cast<std::size_t>(file)), {});
  return function(file, bytes.data(), bytes.size());
}

}  // namespace

#pragma GCC visibility push(default)

// The call of the C library, with both moments around it.
#define NOTED(name, parameters, arguments, ...)                \
  extern "C" int name parameters __VA_ARGS__                   \
  {                                                            \
    static auto* const function = next<int parameters>(#name); \
    return between([&] { return function arguments; });        \
  }

NOTED(rename, (const char* from, const char* to), (from, to), noexcept)
NOTED(renameat2, (int from, const char* old, int to, const char* name, unsigned flags),
      (from, old, to, name, flags), noexcept)
NOTED(remove, (const char* path), (path), noexcept)
NOTED(unlink, (const char* path), (path), noexcept)
NOTED(unlinkat, (int folder, const char* path, int flags), (folder, path, flags), noexcept)
NOTED(mkdir, (const char* path, mode_t mode), (path, mode), noexcept)
NOTED(mkfifo, (const char* path, mode_t mode), (path, mode), noexcept)

NOTED(fdatasync, (int file), (file))

extern "C" ssize_t write(int file, const void* bytes, size_t size)
{
  static auto* const function = next<ssize_t(int, const void*, size_t)>("write");
  if (!isHeld(file)) return function(file, bytes, size);
  std::string& all = held.at(static_cast<std::size_t>(file));
  all.append(static_cast<const char*>(bytes), size);
  if (all.size() >= 4096) pass(file);
  return static_cast<ssize_t>(size);
}

extern "C" int close(int file)
{
  static auto* const function = next<int(int)>("close");
  if (isHeld(file) && !held.at(static_cast<std::size_t>(file)).empty()) pass(file);
  return function(file);
}

#pragma GCC visibility pop
