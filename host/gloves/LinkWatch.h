// Finds out why reads of the plug-in fail: the gloves stopped sending, this computer paused (a stopped
// program, a suspended computer, a blocked output), or the frames are too short for the settings. The caller
// passes the time, of host::uptime(). Threads: one. Errors: none.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

enum class TurnResult { failed, nothing, record };

// Pauses of this computer, in seconds.
struct Stalls {
  std::uint64_t count = 0;
  double longest = 0;
  double latest = 0;
};

class LinkWatch {
 public:
  using Time = std::chrono::nanoseconds;
  enum class Verdict {
    alive,           // continue reading, even after a failed read
    silent,          // no message or no complete frame arrives any more
    lostInStall,     // nothing arrived since this computer paused
    framesTooShort,  // messages arrive, but the plug-in rejects each frame
  };

  // `patience`: for so long after a record, failing reads don't count. A glove out of range is given up by
  // the dongle after 10 s; until then it may come back, with the frames that it has queued.
  explicit LinkWatch(Time patience = Time{0}) : patience_(patience) {}

  void beginRead(Time now);
  [[nodiscard]] Verdict endRead(Time now, TurnResult result);

  const Stalls& stalls() const { return stalls_; }
  // The end of the latest stall; empty after the next record.
  std::optional<Time> resumed() const { return resumed_; }

 private:
  void noteTurn(Time end, Time bound);
  bool isPatient(Time begin, Time now);

  const Time patience_;
  std::optional<Time> latest_;  // begin or end of a read
  std::optional<Time> resumed_;
  Stalls stalls_;
  std::optional<Time> record_;  // the end of the read that delivered the latest one
  bool hasFailed_ = false;      // the latest read
  unsigned refusedFrames_ = 0;
  unsigned instantFailures_ = 0;  // in a row
};
