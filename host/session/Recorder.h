// Passes records from the gloves to the keeper and keeps statistics, over one connection after the other.
// Threads: one, except for the stop flag, which any thread may set. Errors: a Failure of the hardware or the
// writer; the statistics stay valid.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/gloves/RecordSource.h"
#include "host/recording/GapDetector.h"
#include "host/recording/Reconnection.h"
#include "host/session/RecordKeeper.h"

struct RecordingLimits {
  std::optional<double> seconds;  // from the first record on
  std::optional<std::uint64_t> records;
  bool isPatient = false;  // gloves that are silent when a limit is reached are no failure
};

// The connection to some of the gloves has ended, as the capture of the link shows.
class LinkLoss : public Failure {
 public:
  // `gloves`: their labels.
  explicit LinkLoss(std::vector<std::string> gloves);

  const std::vector<std::string>& gloves() const { return gloves_; }

 private:
  std::vector<std::string> gloves_;
};

// Statistics of a recording, running or finished.
struct RecordingFigures {
  std::uint64_t records = 0;
  std::uint64_t written = 0;  // of these, handed to the sinks: what users may be told that they have
  std::optional<std::chrono::nanoseconds> zero;  // when the time of the records was 0, by host::uptime()
  double seconds = 0;                            // from the first record until now, or until the end
  double silentSeconds = 0;  // since the latest record, or since a later pause of this computer
  GapDetector gaps;          // of the times of the records
  std::optional<LiveAccounts::Snapshot> accounts;  // empty without a capture of the link
  Stalls stalls;
  std::vector<std::uint16_t> latest;        // highest element of each group, in the latest record
  std::vector<std::uint16_t> highest;       // over all records
  std::optional<double> battery;            // 0 to 1
  std::vector<Reconnection> reconnections;  // the last one may not have ended

  // In which the gloves were away and came back.
  double awaySeconds() const;
  // While they were there.
  double recordsPerSecond() const;
};

class Recorder {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  using Clock = std::function<Time()>;

  // All must outlive it.
  Recorder(const Layout& layout, RecordKeeper& keeper, const RecordingLimits& limits,
           Clock clock = host::uptime);

  // Records from a connection until a limit is reached, the flag is set, or a Failure is thrown; calls
  // `onProgress` several times a second. True if a limit was reached.
  bool run(RecordSource& source, const std::atomic<bool>& stop,
           const std::function<void(const RecordingFigures&)>& onProgress);
  // Between two connections: brings the figures up to date. True if a limit was reached.
  bool wait();

  // No record arrived for much longer than usual.
  bool isSilent() const;

  // Final statistics, once the keeper has written its last record.
  void finish(const std::optional<Books>& books);
  const RecordingFigures& figures() const { return figures_; }
  // Kept up to date by whom opens the gloves again.
  std::vector<Reconnection>& reconnections() { return figures_.reconnections; }

 private:
  void updateTimes(const RecordSource& source, Time now);
  void keepRecord(const RecordSource& source);
  void updateKept();
  void checkConnections(Time begin) const;
  void checkSilence(const RecordSource& source) const;
  bool isAtLimit() const;

  const Layout& layout_;
  RecordKeeper& keeper_;
  const RecordingLimits limits_;
  const Clock clock_;
  RecordingFigures figures_;
  std::optional<Time> first_;
  Time latest_{0};          // of the latest record, or the start of the connection
  bool hasRecord_ = false;  // from this connection
  Stalls earlierStalls_;    // of earlier connections
};
