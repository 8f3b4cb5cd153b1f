#include <chrono>
#include <cstdio>
#include <thread>

#include "platform/Platform.h"

namespace platform {

std::uint32_t tickCount()
{
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

void sleep(std::uint32_t milliseconds)
{
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void debugOutput(const char* text)
{
  std::fputs(text, stderr);
}

}  // namespace platform
