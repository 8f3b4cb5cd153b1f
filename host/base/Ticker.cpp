#include "host/base/Ticker.h"

#include <utility>

Ticker::Ticker(std::function<void()> tick, std::chrono::milliseconds interval)
    : thread_([this, tick = std::move(tick), interval] {
        std::unique_lock guard(mutex_);
        while (!wake_.wait_for(guard, interval, [this] { return isOver_; })) {
          guard.unlock();
          tick();
          guard.lock();
        }
      })
{
}

Ticker::~Ticker()
{
  {
    const std::lock_guard guard(mutex_);
    isOver_ = true;
  }
  wake_.notify_one();
  thread_.join();
}
