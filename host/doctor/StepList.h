// The steps taken so far, in their order. Threads: one.
#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "host/doctor/Step.h"

class StepList {
 public:
  // `onStep` is called with each step as it is added.
  explicit StepList(std::function<void(const Step&)> onStep = {}) : onStep_(std::move(onStep)) {}

  void add(Step step);
  // A step that was not reached: not reported.
  void addUnreached(Step step) { steps_.push_back(std::move(step)); }

  const std::vector<Step>& steps() const { return steps_; }
  bool has(const std::string& name) const;
  // Null if none failed.
  const Step* firstFailure() const;
  std::size_t warnings() const;

 private:
  std::function<void(const Step&)> onStep_;
  std::vector<Step> steps_;
};
