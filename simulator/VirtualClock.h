// Simulated time: it advances only when it is moved, and then runs the actions that are due. A unit test, or
// a simulated wait, moves it at once; a real-time program moves it with its own clock.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <optional>

class VirtualClock {
 public:
  using Duration = std::chrono::microseconds;

  // Time since the simulation began.
  Duration now() const { return now_; }

  // Time of the next action.
  std::optional<Duration> next() const
  {
    return due_.empty() ? std::nullopt : std::optional(due_.begin()->first);
  }

  void after(Duration delay, std::function<void()> action) { due_.emplace(now_ + delay, std::move(action)); }

  void advance(Duration duration)
  {
    advanceUntil(now_ + duration, [] { return false; });
  }

  // Runs due actions in order, up to the deadline or until the condition holds. True if it holds.
  bool advanceUntil(Duration deadline, const std::function<bool()>& condition)
  {
    while (!condition()) {
      const auto next = due_.begin();
      if (next == due_.end() || next->first > deadline) {
        now_ = std::max(now_, deadline);
        return false;
      }
      now_ = std::max(now_, next->first);
      const auto action = std::move(next->second);
      due_.erase(next);
      action();
    }
    return true;
  }

 private:
  Duration now_{0};
  std::multimap<Duration, std::function<void()>> due_;
};
