// How often something may be done: so many times a second on average, and as many at once. Threads: one.
#pragma once

#include <algorithm>
#include <chrono>

class RateLimit {
 public:
  using Time = std::chrono::nanoseconds;

  explicit RateLimit(unsigned perSecond) : perSecond_(perSecond), left_(perSecond) {}

  // False if it must not be done now.
  [[nodiscard]] bool take(Time now)
  {
    left_ = std::min(perSecond_, left_ + std::chrono::duration<double>(now - latest_).count() * perSecond_);
    latest_ = now;
    if (left_ < 1) return false;
    left_ -= 1;
    return true;
  }

 private:
  double perSecond_;
  double left_;
  Time latest_{};
};
