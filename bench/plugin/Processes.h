// Runs a writer and a reader as processes of their own. Nothing outlasts the call: whichever way it ends,
// both are gone. Errors: std::runtime_error with the words of the process that failed first; one that takes
// too long counts as failed.
#pragma once

#include <functional>

#include "bench/plugin/Run.h"

// Memory that this process shares with those it starts.
class SharedRun {
 public:
  SharedRun();
  ~SharedRun();
  SharedRun(const SharedRun&) = delete;
  SharedRun& operator=(const SharedRun&) = delete;

  Run& operator*() const { return *run_; }
  Run* operator->() const { return run_; }

 private:
  Run* run_;
};

// From here on an interrupt ends a run as a failure does, instead of the process.
void catchInterrupts();

void runProcesses(Run& run, const std::function<void()>& writer, const std::function<void()>& reader);
