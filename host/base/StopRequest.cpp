#include "host/base/StopRequest.h"

#include "host/base/Console.h"

void StopRequest::raise()
{
  isRequested_ = true;
  {
    const std::lock_guard lock(mutex_);
    if (onRequest_) onRequest_();
  }
  // Last, because a paused terminal blocks it.
  console::report("\nEnding. A second Ctrl-C ends the program at once.\n");
}

void StopRequest::during(const std::function<void()>& action, const std::function<void()>& onRequest)
{
  const auto setCallback = [this](std::function<void()> callback) {
    const std::lock_guard lock(mutex_);
    onRequest_ = std::move(callback);
  };
  struct ScopeGuard {
    decltype(setCallback)& set;
    ~ScopeGuard() { set(nullptr); }
  } const guard{setCallback};
  setCallback(onRequest);
  if (isRequested_) onRequest();
  action();
}
