#include "host/System.h"

#include <dlfcn.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace host {

const char* const librarySuffix = ".so";

Library::Library(const std::filesystem::path& file)
    : handle_(::dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL))
{
  if (handle_ == nullptr) throw std::runtime_error(::dlerror());
}

Library::~Library()
{
  ::dlclose(handle_);
}

void* Library::find(const char* name) const
{
  return ::dlsym(handle_, name);
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

unsigned terminalWidth(std::FILE* stream)
{
  winsize size{};
  const bool isKnown = ::ioctl(::fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : 80;
}

std::uint64_t peakMemoryKiB()
{
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::uint64_t>(usage.ru_maxrss);
}

void setEnvironment(const char* name, const std::string& value)
{
  ::setenv(name, value.c_str(), 1);
}

}  // namespace host
