#include "tests/support/FastTime.h"

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/Platform.h"

namespace {

std::atomic<std::int64_t> simulatedMs{0};

}  // namespace

void fast_time::follow(VirtualClock& clock)
{
  static constexpr std::chrono::milliseconds step{5};
  clock.after(step, [&clock] {
    simulatedMs += step.count();
    follow(clock);
  });
}

namespace platform {

std::uint32_t tickCount()
{
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

void sleep(std::uint32_t milliseconds)
{
  const std::int64_t end = simulatedMs + milliseconds / 10;
  while (simulatedMs < end) {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
}

void debugOutput(const char*) {}

}  // namespace platform
