// Prints the lines of a trace, as text or as one JSON object each, and only those of the time that is asked
// for. Foreign text is escaped. Threads: one.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <limits>
#include <optional>
#include <string>

#include "host/trace/TraceTime.h"

struct TraceFormat {
  bool isJson = false;
  bool showsWallClock = false;
  // Seconds since the beginning of the capture.
  double from = 0;
  double to = std::numeric_limits<double>::infinity();
};

class TraceOutput {
 public:
  explicit TraceOutput(const TraceFormat& format) : format_(format) {}

  bool isJson() const { return format_.isJson; }
  bool includes(const TraceMoment& moment) const;
  // `previous`: since when the difference is shown. Without it, since the previous line.
  void printLine(const TraceMoment& moment, const std::string& text,
                 std::optional<TraceTime::Time> previous = std::nullopt);
  // Adds the time in front.
  void printObject(const TraceMoment& moment, const nlohmann::ordered_json& json);
  std::uint64_t printed() const { return printed_; }

 private:
  TraceFormat format_;
  std::optional<TraceTime::Time> previous_;
  std::uint64_t printed_ = 0;
};
