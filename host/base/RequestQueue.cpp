#include "host/base/RequestQueue.h"

#include <utility>

#include "host/base/Failure.h"

std::optional<std::string> RequestQueue::ask(std::string command, std::chrono::milliseconds timeout)
{
  std::future<Outcome> future;
  {
    const std::scoped_lock lock(mutex_);
    if (isClosed_) return std::nullopt;
    waiting_.push_back({std::move(command), {}});
    future = waiting_.back().outcome.get_future();
  }
  if (future.wait_for(timeout) != std::future_status::ready) return std::nullopt;
  const Outcome outcome = future.get();
  if (!outcome.isExecuted) return std::nullopt;
  if (outcome.code != ExitCode::done) throw Failure(outcome.code, outcome.text, outcome.advice);
  return outcome.text;
}

RequestQueue::Outcome RequestQueue::outcomeOf(const std::function<std::string()>& execute)
{
  try {
    return {.isExecuted = true, .text = execute(), .advice = {}};
  } catch (const Failure& failure) {
    return {.isExecuted = true, .code = failure.code(), .text = failure.what(), .advice = failure.advice()};
  } catch (const std::exception& error) {
    return {.isExecuted = true, .code = ExitCode::internal, .text = error.what(), .advice = {}};
  }
}

void RequestQueue::answer(const std::function<std::string(const std::string& command)>& execute)
{
  for (Request& request : take()) {
    request.outcome.set_value(outcomeOf([&] { return execute(request.command); }));
  }
}

void RequestQueue::refuse()
{
  for (Request& request : take()) {
    request.outcome.set_value({});
  }
}

void RequestQueue::close()
{
  {
    const std::scoped_lock lock(mutex_);
    isClosed_ = true;
  }
  refuse();
}

std::vector<RequestQueue::Request> RequestQueue::take()
{
  const std::scoped_lock lock(mutex_);
  return std::exchange(waiting_, {});
}
