#include <windows.h>

#include <mutex>

#include "host/System.h"

namespace host {

namespace {

constexpr UINT exitInterrupted = 130;

// A console's handler gets nothing but the kind of the wish, so the one interrupt there may be stands here.
std::mutex mutex;
std::function<void()> onWish;
bool isFirst = true;

BOOL WINAPI handle(DWORD)
{
  const std::lock_guard lock(mutex);
  if (!onWish) return FALSE;
  if (!isFirst) ExitProcess(exitInterrupted);
  isFirst = false;
  onWish();
  return TRUE;
}

}  // namespace

struct Interrupt::Watch {};

Interrupt::Interrupt(std::function<void()> onInterrupt)
{
  {
    const std::lock_guard lock(mutex);
    onWish = std::move(onInterrupt);
    isFirst = true;
  }
  SetConsoleCtrlHandler(handle, TRUE);
}

Interrupt::~Interrupt()
{
  SetConsoleCtrlHandler(handle, FALSE);
  const std::lock_guard lock(mutex);
  onWish = nullptr;
}

}  // namespace host
