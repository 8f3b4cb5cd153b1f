#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <thread>

#include "host/base/System.h"

namespace host {

namespace {

// A marker, no stop request; from this program itself, it wakes the waiting thread.
constexpr int marker = SIGUSR1;
constexpr int exitInterrupted = 130;

// Except those that the parent process set to be ignored, as nohup does.
sigset_t stopRequests()
{
  sigset_t set{};
  ::sigemptyset(&set);
  ::sigaddset(&set, marker);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    ::sigaction(signal, nullptr, &action);
    if (action.sa_handler != SIG_IGN) ::sigaddset(&set, signal);
  }
  return set;
}

}  // namespace

struct StopSignals::Watch {
  sigset_t previousMask{};
  std::atomic<bool> isOver{false};
  bool isRequested = false;  // used by the thread until it has ended
  std::thread thread;

  static void call(const std::function<void()>& action) noexcept
  {
    try {
      if (action) action();
    } catch (const std::exception&) {
      // Without memory a marker is lost.
    }
  }

  void run(const sigset_t& set, const std::function<void()>& onInterrupt,
           const std::function<void()>& onMarker)
  {
    bool hadCtrlC = false;
    for (;;) {
      int signal = 0;
      ::sigwait(&set, &signal);
      if (signal == marker) {
        if (isOver) return;
        call(onMarker);
        continue;
      }
      // Only a second Ctrl-C is deliberate: when a terminal closes, kernel and shell both send SIGHUP.
      if (signal == SIGINT && hadCtrlC) ::_exit(exitInterrupted);
      hadCtrlC = hadCtrlC || signal == SIGINT;
      if (!isRequested) call(onInterrupt);
      isRequested = true;
    }
  }
};

StopSignals::StopSignals(std::function<void()> onInterrupt, std::function<void()> onMarker)
    : watch_(std::make_unique<Watch>())
{
  ::signal(SIGPIPE, SIG_IGN);
  ::signal(SIGXFSZ, SIG_IGN);
  const sigset_t set = stopRequests();
  ::pthread_sigmask(SIG_BLOCK, &set, &watch_->previousMask);
  watch_->thread = std::thread([set, watch = watch_.get(), onInterrupt = std::move(onInterrupt),
                                onMarker = std::move(onMarker)] { watch->run(set, onInterrupt, onMarker); });
}

StopSignals::~StopSignals()
{
  watch_->isOver = true;
  ::pthread_kill(watch_->thread.native_handle(), marker);
  watch_->thread.join();
  // Another one may be pending, and would end the process.
  ::signal(marker, SIG_IGN);
  if (watch_->isRequested) {
    // The program is ending: another signal must not cut off its last messages and its exit code.
    ::signal(SIGTERM, SIG_IGN);
    ::signal(SIGHUP, SIG_IGN);
  }
  ::pthread_sigmask(SIG_SETMASK, &watch_->previousMask, nullptr);
}

}  // namespace host
