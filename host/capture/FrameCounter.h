// Counts the frames that a glove sent, from what its first packets carry: a counter of 4 bits and a clock
// of 16.
//
// Between two first packets the counter says how many frames were sent, modulo 16, and the clock how much
// time passed, modulo 6.5536 s. Together with the frame period both numbers follow, unless the radio was
// silent for seconds: several numbers may then fit. The glove may have sent late what it had queued, but
// nothing arrives early: so the largest one that does not make a packet arrive too early is taken, and if
// later packets do, a smaller one.
//
// Units: clock ticks of 0.1 ms. Threads: one. Throws only std::bad_alloc.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

class FrameCounter {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  struct FirstPacket {
    std::uint8_t counter = 0;  // 4 bits
    std::uint16_t clock = 0;
    Time arrival{0};
  };
  struct Frame {
    std::int64_t number = 0;  // its lowest 4 bits are the counter
    std::int64_t ticks = 0;   // its lowest 16 bits are the clock
    std::int64_t steps = 0;   // frames since the previous first packet; 0 for the first one of a connection
  };

  // True if the packet has the counter and clock of the previous one: it came twice, or its frame did.
  // `isDirectlyBehind`: no packet was heard between the two.
  bool isSame(const FirstPacket& packet, bool isDirectlyBehind) const;
  // The next frame. It must not be the same one.
  Frame add(const FirstPacket& packet);
  // A later packet has shown that so many more frames were sent, or fewer, before the latest one than add()
  // said; 0 if none has. Numbers from add() include it from now on.
  std::int64_t takeCorrection();

  // The connection ended: what is undecided now stays so. The next frame is the first one of another
  // connection.
  void endConnection();
  std::uint64_t ambiguous() const { return ambiguous_; }
  // Ticks between two frames; 0 while unknown.
  double period() const { return isConfirmed_ ? period_ : 0; }

 private:
  // From one first packet to the next.
  struct Interval {
    unsigned counted = 0;       // difference of the counters
    std::int64_t ticks = 0;     // difference of the clocks, with the wraps that were assumed
    std::int64_t elapsed = 0;   // between the arrivals, in ticks
    std::int64_t maxTicks = 0;  // more would make the later packet arrive too early
    std::int64_t steps = 0;     // frames, as assumed
  };

  void choose(Interval& interval);
  void assume(Interval& interval);
  void follow(const Interval& interval);
  void decide();
  void checkLag(Time arrival);
  std::int64_t minLag() const;

  std::optional<FirstPacket> last_;
  Frame latest_{.number = -1};
  double period_ = 0;
  double formerPeriod_ = 0;   // before a change of rate
  bool isConfirmed_ = false;  // by two intervals in a row
  std::int64_t ticksOfPeriod_ = 0, stepsOfPeriod_ = 0;
  std::vector<Interval> undecided_;  // no multiple of the period

  std::array<std::int64_t, 2> minLags_{};  // of this window of time and of the previous one
  Time windowEnd_{0};
  std::vector<Interval> choices_;  // of the latest interval that left a choice, shortest first
  bool isUnsettled_ = false;       // since then all packets arrived late
  std::int64_t correction_ = 0;
  std::uint64_t ambiguous_ = 0;
};
