#include "tests/support/FastTime.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "platform/Platform.h"

namespace {

using std::chrono::steady_clock;

std::atomic<std::int64_t> simulatedMs{0};
// Iterations of the loop that serves the terminal: bytes written before one iteration have been read after
// the next.
std::atomic<std::int64_t> turns{0};

// Schedules itself beyond the time that the clock is being moved to, so that each call is in an iteration of
// its own.
void noteNextTurn(VirtualClock& clock, double speed, steady_clock::time_point begin)
{
  using Seconds = std::chrono::duration<double>;
  constexpr std::chrono::milliseconds step{5};
  const auto moment =
      std::chrono::duration_cast<VirtualClock::Duration>(Seconds(steady_clock::now() - begin) * speed);
  clock.after(std::max(moment - clock.now(), VirtualClock::Duration{0}) + step, [&clock, speed, begin] {
    simulatedMs = std::chrono::duration_cast<std::chrono::milliseconds>(clock.now()).count();
    ++turns;
    noteNextTurn(clock, speed, begin);
  });
}

}  // namespace

void fast_time::follow(VirtualClock& clock, double speed)
{
  noteNextTurn(clock, speed, steady_clock::now());
}

namespace platform {

std::uint32_t tickCount()
{
  const auto now = steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

void sleep(std::uint32_t milliseconds)
{
  constexpr std::int64_t someTurns = 3;
  const std::int64_t endMs = simulatedMs + milliseconds / 10;
  const std::int64_t endTurn = turns + someTurns;
  while (simulatedMs < endMs || turns < endTurn) {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
}

void debugOutput(const char*) {}

}  // namespace platform
