#include "host/Interruption.h"

#include "host/Console.h"

void Interruption::raise()
{
  isWanted_ = true;
  {
    const std::lock_guard lock(mutex_);
    if (onWish_) onWish_();
  }
  // Last, because a terminal that is held makes it wait.
  console::tell("\nEnding; once more ends at once.\n");
}

void Interruption::during(const std::function<void()>& action, const std::function<void()>& onWish)
{
  const auto hear = [this](std::function<void()> function) {
    const std::lock_guard lock(mutex_);
    onWish_ = std::move(function);
  };
  struct Deaf {
    decltype(hear)& setHearing;
    ~Deaf() { setHearing(nullptr); }
  } const deafAfterwards{hear};
  hear(onWish);
  if (isWanted_) onWish();
  action();
}
