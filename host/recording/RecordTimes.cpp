#include "host/recording/RecordTimes.h"

#include <algorithm>
#include <cmath>

#include "host/recording/GapDetector.h"

double RecordTimes::next(const Record& record)
{
  double ms = std::isnan(record.timeMs) ? estimated(record) : record.timeMs;
  if (latest_ && ms < latest_->ms) {
    // Expected after a record of unknown time.
    if (!std::isnan(latest_->timeMs)) ++backwardSteps_;
    ms = latest_->ms;
  }
  latest_ = Latest{ms, record.timeMs, record.arrivalMs, record.pluginMs};
  return ms;
}

double RecordTimes::estimated(const Record& record)
{
  if (!latest_) return 0;
  const double sinceLatest = record.arrivalMs - latest_->arrivalMs;
  if (!std::isnan(sinceLatest)) return latest_->ms + std::max(sinceLatest, 0.0);
  const auto step = timestampStep(latest_->pluginMs, record.pluginMs);
  if (!step) ++backwardSteps_;
  return latest_->ms + step.value_or(0);
}
