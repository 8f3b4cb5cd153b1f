// A request of the person or the system to end the program, for those who have to act on it.
// Threads: `raise` runs on the thread of `host::Interrupt`; the rest is the program's.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>

#include "host/base/System.h"

class StopRequest {
 public:
  // Make it before any other thread.
  StopRequest() : interrupt_([this] { raise(); }) {}

  const std::atomic<bool>& flag() const { return isRequested_; }

  // Runs the action. A request that comes meanwhile calls `onRequest`, on the thread of `raise`; one that
  // came before calls it at once.
  void during(const std::function<void()>& action, const std::function<void()>& onRequest);

 private:
  void raise();

  std::atomic<bool> isRequested_{false};
  std::mutex mutex_;
  std::function<void()> onRequest_;
  host::StopSignals interrupt_;  // last, so that it ends first
};
