// Runs a writer and a reader in separate processes, both of which have ended when the call returns or throws.
// Errors: std::runtime_error with the message of the process that failed first; a process that takes too long
// counts as failed.
#pragma once

#include <functional>

#include "bench/plugin/Run.h"

// Memory shared with the child processes.
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

// Makes an interrupt end a run as a failure does, instead of the process.
void catchInterrupts();

void runProcesses(Run& run, const std::function<void()>& writer, const std::function<void()>& reader);
