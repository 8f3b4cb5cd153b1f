// Commands that some threads have another one execute, which takes them when it is ready for them.
// Threads: any; answer() on the one that executes. Throws only std::bad_alloc, apart from ask().
#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/base/ExitCode.h"

class RequestQueue {
 public:
  // The reply. Nothing if it is refused, or not executed within the timeout. Throws the Failure with which
  // the execution failed.
  std::optional<std::string> ask(std::string command, std::chrono::milliseconds timeout);

  // Executes all that wait.
  void answer(const std::function<std::string(const std::string& command)>& execute);
  // All that wait are not executed.
  void refuse();
  // Nor are those that follow.
  void close();

 private:
  // No exception is passed on: the thread that asks makes its own.
  struct Outcome {
    bool isExecuted = false;
    ExitCode code = ExitCode::done;
    std::string text;    // the reply, or what happened
    std::string advice;  // of a failure
  };
  struct Request {
    std::string command;
    std::promise<Outcome> outcome;
  };

  static Outcome outcomeOf(const std::function<std::string()>& execute);
  std::vector<Request> take();

  std::mutex mutex_;  // of what follows
  std::vector<Request> waiting_;
  bool isClosed_ = false;
};
