// Commands that some threads have another one execute, which takes them when it is ready for them.
// Threads: any; answer() on the one that executes. Errors: as described at each function.
#pragma once

#include <exception>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <vector>

class RequestQueue {
 public:
  // Makes an exception for each request, since they are caught on different threads.
  using Reason = std::function<std::exception_ptr()>;

  // The reply, or what execution threw, once there is one; what the queue was closed with.
  std::future<std::string> add(std::string command);

  // Executes all that wait; what this throws is for who asked.
  void answer(const std::function<std::string(const std::string& command)>& execute);
  // All that wait get this exception.
  void refuse(const Reason& reason);
  // Those that follow, too.
  void close(const Reason& reason);

 private:
  struct Request {
    std::string command;
    std::promise<std::string> reply;
  };

  std::vector<Request> take();

  std::mutex mutex_;  // of what follows
  std::vector<Request> waiting_;
  Reason closed_;  // empty: open
};
