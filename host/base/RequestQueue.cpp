#include "host/base/RequestQueue.h"

#include <utility>

std::future<std::string> RequestQueue::add(std::string command)
{
  Request request{std::move(command), {}};
  std::future<std::string> reply = request.reply.get_future();
  const std::scoped_lock lock(mutex_);
  if (closed_) {
    request.reply.set_exception(closed_());
  } else {
    waiting_.push_back(std::move(request));
  }
  return reply;
}

void RequestQueue::answer(const std::function<std::string(const std::string& command)>& execute)
{
  for (Request& request : take()) {
    try {
      request.reply.set_value(execute(request.command));
    } catch (...) {
      request.reply.set_exception(std::current_exception());
    }
  }
}

void RequestQueue::refuse(const Reason& reason)
{
  for (Request& request : take()) {
    request.reply.set_exception(reason());
  }
}

void RequestQueue::close(const Reason& reason)
{
  {
    const std::scoped_lock lock(mutex_);
    closed_ = reason;
  }
  refuse(reason);
}

std::vector<RequestQueue::Request> RequestQueue::take()
{
  const std::scoped_lock lock(mutex_);
  return std::exchange(waiting_, {});
}
