// Receives what is recorded, as it becomes known: a file, or a network. A sink that might block has a thread
// of its own with a bounded queue, since the thread that calls it reads the gloves. Threads: one. Errors: a
// Failure; what was received before is kept.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>

#include "host/recording/Record.h"
#include "host/recording/RecordingEvents.h"

class RecordSink {
 public:
  virtual ~RecordSink() = default;

  // As soon as a record is read, by host::uptime(); add() follows once it is known when it was sampled.
  virtual void arrived(std::chrono::nanoseconds /*time*/, std::span<const std::uint16_t> /*elements*/) {}
  // Before the first record: when their time is 0, by host::uptime().
  virtual void begin(std::chrono::nanoseconds /*zero*/) {}
  // With all elements of the layout.
  virtual void add(const Record& record) = 0;
  // At any time, also before begin(); then its time is unknown.
  virtual void addEvent(const RecordingEvent& /*event*/) {}
};
