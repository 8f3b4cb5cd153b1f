// Passes records from the gloves to the keeper and keeps statistics.
// Threads: one, except for the stop flag, which any thread may set. Errors: a Failure of the hardware or the
// writer ends the recording; its statistics stay valid.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "host/base/System.h"
#include "host/gloves/RecordSource.h"
#include "host/recording/GapDetector.h"
#include "host/session/RecordKeeper.h"

struct RecordingLimits {
  std::optional<double> seconds;  // from the first record on
  std::optional<std::uint64_t> records;
};

// Statistics of a recording, running or finished.
struct RecordingFigures {
  std::uint64_t records = 0;
  std::optional<std::chrono::nanoseconds> zero;  // when the time of the records was 0, by host::uptime()
  double seconds = 0;                            // from the first record until now, or until the end
  double silentSeconds = 0;  // since the latest record, or since a later pause of this computer
  GapDetector gaps;          // of the times of the records
  std::optional<LiveAccounts::Snapshot> accounts;  // empty without a capture of the link
  Stalls stalls;
  std::vector<std::uint16_t> latest;   // highest element of each group, in the latest record
  std::vector<std::uint16_t> highest;  // over all records
  std::optional<double> battery;       // 0 to 1
};

class Recorder {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  using Clock = std::function<Time()>;

  // All must outlive it.
  Recorder(RecordSource& source, const Layout& layout, RecordKeeper& keeper, const RecordingLimits& limits,
           Clock clock = host::uptime);

  // Records until a limit is reached, the flag is set, or a Failure is thrown; calls `onProgress` several
  // times a second. True if a limit was reached.
  bool run(const std::atomic<bool>& stop, const std::function<void(const RecordingFigures&)>& onProgress);

  // Final statistics, once the keeper has written its last record.
  void finish(const std::optional<Books>& books);
  const RecordingFigures& figures() const { return figures_; }

 private:
  void updateTimes(Time now);
  void keepRecord();
  void updateKept();
  void checkSilence() const;
  bool isAtLimit() const;

  RecordSource& source_;
  const Layout& layout_;
  RecordKeeper& keeper_;
  const RecordingLimits limits_;
  const Clock clock_;
  RecordingFigures figures_;
  std::optional<Time> first_;
  Time latest_;  // of the latest record, or the start
};
