#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <thread>

#include "host/System.h"

namespace host {

namespace {

constexpr int endOfWatch = SIGUSR1;
constexpr int exitInterrupted = 130;

sigset_t wishes()
{
  sigset_t set{};
  ::sigemptyset(&set);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, endOfWatch}) {
    ::sigaddset(&set, signal);
  }
  return set;
}

}  // namespace

struct Interrupt::Watch {
  sigset_t previousMask{};
  std::thread thread;
};

Interrupt::Interrupt(std::function<void()> onInterrupt) : watch_(std::make_unique<Watch>())
{
  ::signal(SIGPIPE, SIG_IGN);
  ::signal(SIGXFSZ, SIG_IGN);
  const sigset_t set = wishes();
  ::pthread_sigmask(SIG_BLOCK, &set, &watch_->previousMask);
  watch_->thread = std::thread([set, onInterrupt = std::move(onInterrupt)] {
    for (bool isFirst = true;; isFirst = false) {
      int signal = 0;
      ::sigwait(&set, &signal);
      if (signal == endOfWatch) return;
      if (!isFirst) ::_exit(exitInterrupted);
      onInterrupt();
    }
  });
}

Interrupt::~Interrupt()
{
  ::pthread_kill(watch_->thread.native_handle(), endOfWatch);
  watch_->thread.join();
  ::pthread_sigmask(SIG_SETMASK, &watch_->previousMask, nullptr);
}

}  // namespace host
