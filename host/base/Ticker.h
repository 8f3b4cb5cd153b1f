// Calls an action again and again on a thread of its own, while the thread that made it does something else.
// Errors: std::system_error if there can be no thread; the action must not throw.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

class Ticker {
 public:
  explicit Ticker(std::function<void()> tick,
                  std::chrono::milliseconds interval = std::chrono::milliseconds(100));
  // Waits for a call that is running; there are none after it.
  ~Ticker();
  Ticker(const Ticker&) = delete;
  Ticker& operator=(const Ticker&) = delete;

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  bool isOver_ = false;  // guarded by the mutex
  std::thread thread_;
};
