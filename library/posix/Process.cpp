#include "library/Process.h"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <new>
#include <system_error>

namespace library::process {

namespace {

const pid_t loadedBy = ::getpid();

// Empty if it is unknown.
Dl_info ownFile() noexcept
{
  Dl_info info{};
  ::dladdr(&loadedBy, &info);
  return info;
}

// Taken when the library is loaded: the name may be relative to the working directory of that moment. Never
// destroyed, because other threads may still run while the process ends.
const std::filesystem::path* folderAtLoading() noexcept
{
  try {
    const char* const name = ownFile().dli_fname;
    if (name == nullptr) return nullptr;
    std::error_code error;
    const auto file = std::filesystem::canonical(name, error);
    return error ? nullptr : new std::filesystem::path(file.parent_path());
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

const std::filesystem::path* const folder = folderAtLoading();

std::atomic<void (*)()> actionAtExit{nullptr};

void runAtExit()
{
  if (!isForked()) actionAtExit.load()();
}

}  // namespace

bool isForked() noexcept
{
  return ::getpid() != loadedBy;
}

std::filesystem::path ownFolder()
{
  return folder == nullptr ? std::filesystem::path() : *folder;
}

void pin()
{
  // By the name that it was loaded with, which finds it wherever the working directory is now. Not closed:
  // the reference stays, too.
  const char* const name = ownFile().dli_fname;
  if (name != nullptr) ::dlopen(name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

void atExit(void (*action)())
{
  actionAtExit = action;
  if (std::atexit(runAtExit) != 0) throw std::bad_alloc();
}

struct SignalsBlocked::Mask {
  sigset_t signals;
};

SignalsBlocked::SignalsBlocked()
{
  sigset_t blocked;
  ::sigfillset(&blocked);
  // Those that the thread raises itself, by an error: blocked, they would end the process without the
  // program's own report.
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
    ::sigdelset(&blocked, signal);
  }
  auto earlier = std::make_unique<Mask>();
  ::pthread_sigmask(SIG_SETMASK, &blocked, &earlier->signals);
  earlier_ = std::move(earlier);
}

SignalsBlocked::~SignalsBlocked()
{
  ::pthread_sigmask(SIG_SETMASK, &earlier_->signals, nullptr);
}

}  // namespace library::process
