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
  // The reply, or what execution threw, once there is one; what the queue was closed with.
  std::future<std::string> add(std::string command);

  // Executes all that wait; what this throws is for who asked.
  void answer(const std::function<std::string(const std::string& command)>& execute);
  // All that wait get this exception.
  void refuse(const std::exception_ptr& reason);
  // Those that follow, too.
  void close(const std::exception_ptr& reason);

 private:
  struct Request {
    std::string command;
    std::promise<std::string> reply;
  };

  std::vector<Request> take();

  std::mutex mutex_;  // of what follows
  std::vector<Request> waiting_;
  std::exception_ptr closed_;  // null: open
};
