// Forwards what is recorded to several sinks, in their order.
#pragma once

#include <vector>

#include "host/recording/RecordSink.h"

class SinkList final : public RecordSink {
 public:
  // It must outlive this.
  void add(RecordSink& sink) { sinks_.push_back(&sink); }

  void arrived(std::chrono::nanoseconds time, std::span<const std::uint16_t> elements) override
  {
    for (RecordSink* const sink : sinks_) {
      sink->arrived(time, elements);
    }
  }
  void begin(std::chrono::nanoseconds zero) override
  {
    for (RecordSink* const sink : sinks_) {
      sink->begin(zero);
    }
  }
  void add(const Record& record) override
  {
    for (RecordSink* const sink : sinks_) {
      sink->add(record);
    }
  }
  void addEvent(const RecordingEvent& event) override
  {
    for (RecordSink* const sink : sinks_) {
      sink->addEvent(event);
    }
  }

 private:
  std::vector<RecordSink*> sinks_;
};
