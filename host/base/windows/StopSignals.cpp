#include <windows.h>

#include <mutex>

#include "host/base/System.h"

namespace host {

namespace {

constexpr UINT exitInterrupted = 130;

// A console handler receives only the kind of event, so the state of the single StopSignals is global.
std::mutex mutex;
std::function<void()> onStopRequest;
bool isRequested = false;
bool hadCtrlC = false;

BOOL WINAPI handle(DWORD event)
{
  const bool isCtrlC = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  {
    const std::lock_guard lock(mutex);
    if (!onStopRequest) return FALSE;
    if (isCtrlC && hadCtrlC) ExitProcess(exitInterrupted);
    hadCtrlC = hadCtrlC || isCtrlC;
    if (!isRequested) onStopRequest();
    isRequested = true;
  }
  // When a console closes, the process ends as soon as the handler returns, or after some seconds; the
  // program needs this time to shut down in order.
  if (!isCtrlC) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

struct StopSignals::Watch {};

// Windows has no signal for markers.
StopSignals::StopSignals(std::function<void()> onInterrupt, std::function<void()> /*onMarker*/)
{
  {
    const std::lock_guard lock(mutex);
    onStopRequest = std::move(onInterrupt);
    isRequested = false;
    hadCtrlC = false;
  }
  SetConsoleCtrlHandler(handle, TRUE);
}

StopSignals::~StopSignals()
{
  SetConsoleCtrlHandler(handle, FALSE);
  const std::lock_guard lock(mutex);
  onStopRequest = nullptr;
}

}  // namespace host
