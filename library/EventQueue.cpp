#include "library/EventQueue.h"

#include <nlohmann/json.hpp>

#include "library/JsonText.h"

namespace library {

void EventQueue::add(const RecordingEvent& event)
{
  std::string text = jsonText(eventJson(event));
  const std::scoped_lock lock(mutex_);
  texts_.push_back(std::move(text));
  if (texts_.size() > capacity) {
    texts_.pop_front();
    ++dropped_;
  }
}

bool EventQueue::take(const std::function<void(const std::string& json)>& use)
{
  const std::scoped_lock lock(mutex_);
  if (texts_.empty()) return false;
  use(texts_.front());
  texts_.pop_front();
  return true;
}

std::uint64_t EventQueue::dropped() const
{
  const std::scoped_lock lock(mutex_);
  return dropped_;
}

}  // namespace library
