// The wish of the person to end the program, for those who have to hear of it.
// Threads: `raise` comes on a thread of the system's wish; the rest is the program's.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>

#include "host/System.h"

class Interruption {
 public:
  // Make it before any other thread.
  Interruption() : interrupt_([this] { raise(); }) {}

  const std::atomic<bool>& flag() const { return isWanted_; }

  // Runs the action. A wish that comes meanwhile calls `onWish`, on its own thread; one that came before
  // calls it at once.
  void during(const std::function<void()>& action, const std::function<void()>& onWish);

 private:
  void raise();

  std::atomic<bool> isWanted_{false};
  std::mutex mutex_;
  std::function<void()> onWish_;
  host::Interrupt interrupt_;  // last, so that it ends first
};
