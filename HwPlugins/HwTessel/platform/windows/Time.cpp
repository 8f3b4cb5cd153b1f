#include <windows.h>

#include "platform/Platform.h"

namespace platform {

std::uint32_t tickCount()
{
  return GetTickCount();
}

void sleep(std::uint32_t milliseconds)
{
  Sleep(milliseconds);
}

void debugOutput(const char* text)
{
  OutputDebugStringA(text);
}

}  // namespace platform
