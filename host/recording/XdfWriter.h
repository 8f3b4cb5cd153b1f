// Writes a recording as one XDF file with its metadata and events: a stream for each glove, one for auxiliary
// elements, one for the times and counters of the records, and one for the events. Timestamps are seconds of
// the computer's monotonic clock. docs/recording.md documents the streams.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host/base/OutputFile.h"
#include "host/recording/RecordTimes.h"
#include "host/recording/RecordWriter.h"
#include "host/recording/RecordingMetadata.h"
#include "host/recording/XdfStream.h"

class XdfWriter final : public RecordWriter {
 public:
  // `metadata` must outlive it, and be complete when it is closed.
  XdfWriter(const std::filesystem::path& file, const RecordingMetadata& metadata);

  void begin(std::chrono::nanoseconds zero) override;
  void add(const Record& record) override;
  void addEvent(const RecordingEvent& event) override;
  void close(bool isComplete) override;

 private:
  struct Part {
    const ElementGroup& group;
    std::optional<std::size_t> glove;  // its frame in a record
    XdfStream stream;
    RecordTimes times = {};
  };

  RecordingMetadata knownMetadata() const;
  void writeHeaders();
  void ensureHeaders();
  void appendIntervals(double seconds);
  void writeEvent(const RecordingEvent& event);
  void appendTiming(const Record& record, double seconds);
  double secondsOf(double ms) const;

  OutputFile file_;
  const RecordingMetadata& metadata_;
  std::chrono::nanoseconds zero_{0};
  std::optional<std::chrono::system_clock::time_point> started_;  // if the metadata had none
  std::vector<Part> parts_;
  XdfStream timing_;
  RecordTimes times_;
  XdfStream events_;
  bool hasBegun_ = false;
  std::vector<RecordingEvent> waiting_;  // until it has begun
  double nextOffset_ = 0;
  double nextBoundary_ = 0;
  // Members to reuse their memory.
  std::string bytes_;
  std::string values_;
};
