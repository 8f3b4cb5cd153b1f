#include "host/doctor/StepList.h"

#include <algorithm>

void StepList::add(Step step)
{
  steps_.push_back(std::move(step));
  if (onStep_) onStep_(steps_.back());
}

bool StepList::has(const std::string& name) const
{
  return std::ranges::find(steps_, name, &Step::name) != steps_.end();
}

const Step* StepList::firstFailure() const
{
  const auto found = std::ranges::find(steps_, Step::Result::failed, &Step::result);
  return found == steps_.end() ? nullptr : &*found;
}

std::size_t StepList::warnings() const
{
  return static_cast<std::size_t>(std::ranges::count(steps_, Step::Result::warning, &Step::result));
}
