// A stop request by the user or the system, and the callback that acts on it.
// Threads: `raise` and `onMarker` run on the thread of `host::StopSignals`, everything else on the main
// thread.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <utility>

#include "host/base/System.h"

class StopRequest {
 public:
  // Construct it before starting any thread. SIGUSR1 calls `onMarker`.
  explicit StopRequest(std::function<void()> onMarker = {})
      : interrupt_([this] { raise(); }, std::move(onMarker))
  {
  }

  const std::atomic<bool>& flag() const { return isRequested_; }

  // Runs the action. A request during it calls `onRequest` on the thread of `raise`; an earlier one at once.
  void during(const std::function<void()>& action, const std::function<void()>& onRequest);

 private:
  void raise();

  std::atomic<bool> isRequested_{false};
  std::mutex mutex_;
  std::function<void()> onRequest_;
  host::StopSignals interrupt_;  // last, so that it ends first
};
