// Events on their way to whoever asks for them, as the JSON of tessel_next_event(). Of too many the oldest
// ones are dropped. Threads: any. Throws only std::bad_alloc, and what the user of an event throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

#include "host/recording/RecordingEvents.h"

namespace library {

class EventQueue {
 public:
  static constexpr std::size_t capacity = 1000;

  void add(const RecordingEvent& event);

  // Passes the oldest event on, and removes it unless that throws. False if there is none. Others wait
  // meanwhile.
  bool take(const std::function<void(const std::string& json)>& use);

  std::uint64_t dropped() const;

 private:
  mutable std::mutex mutex_;
  std::deque<std::string> texts_;
  std::uint64_t dropped_ = 0;
};

}  // namespace library
