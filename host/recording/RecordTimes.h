// The times of consecutive records, also of those that have none: their arrivals continue the time of the
// record before, or else the plug-in's timestamps do. Threads: one.
#pragma once

#include <cstdint>
#include <optional>

#include "host/recording/Record.h"

class RecordTimes {
 public:
  // In ms of the recording's time; never decreases.
  double next(const Record& record);
  // Records whose time or timestamp is earlier than that of the record before, which got its time.
  std::uint64_t backwardSteps() const { return backwardSteps_; }

 private:
  struct Latest {
    double ms;  // what next() returned
    double timeMs;
    double arrivalMs;
    std::uint32_t pluginMs;
  };

  double estimated(const Record& record);

  std::optional<Latest> latest_;
  std::uint64_t backwardSteps_ = 0;
};
