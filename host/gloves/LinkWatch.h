// Judges the link by the plug-in's reads, which say only that they failed: tells gloves that fell silent from
// a computer that stood still (a stopped program, a suspended computer, an output that did not take the
// records), and both from frames that are too short for the settings. Times are those of host::uptime(),
// given from outside. Threads: one. Errors: none.
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
    alive,           // go on reading, also after a read that failed
    silent,          // no message, or no complete frame, comes any more
    lostInStall,     // nothing has come since this computer stood still
    framesTooShort,  // messages come, and the plug-in refuses each frame
  };

  void beginRead(Time now);
  [[nodiscard]] Verdict endRead(Time now, TurnResult result);

  const Stalls& stalls() const { return stalls_; }
  // When the latest stall ended, as long as no record has come since.
  std::optional<Time> resumed() const { return resumed_; }

 private:
  void noteTurn(Time end, Time bound);

  std::optional<Time> latest_;  // begin or end of a read
  std::optional<Time> resumed_;
  Stalls stalls_;
  bool hasRecord_ = false;
  bool hasFailed_ = false;  // the latest read
  unsigned refusedFrames_ = 0;
};
