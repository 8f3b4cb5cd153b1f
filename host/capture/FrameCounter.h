// Counts the frames that a glove sent, from what its first packets carry: a counter of 4 bits and a clock
// of 16.
//
// Between two first packets the counter says how many frames were sent, modulo 16, and the clock how much
// time passed, modulo 6.5536 s. Together with the frame period both numbers follow, unless the radio was
// silent for seconds: several pairs of numbers may then fit. Such a gap stays open. Nothing arrives early, so
// the longest time is taken that does not exceed the time between the arrivals. If the glove sends late what
// it had queued meanwhile, this may be too long: then packets seem to arrive early once its queue has
// drained, and a shorter time is taken. A gap is settled when packets are as late as before it, for some
// seconds.
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

 private:
  // A time that may have passed, with the number of frames that it means.
  struct Choice {
    std::int64_t ticks = 0;
    std::int64_t steps = 0;
  };
  // From one first packet to the next.
  struct Interval {
    unsigned counted = 0;          // difference of the counters
    std::int64_t minTicks = 0;     // difference of the clocks without a wrap
    std::int64_t likelyTicks = 0;  // more would make packets less late, all at once
    std::int64_t maxTicks = 0;     // more would make the later packet arrive too early
    Choice chosen;
  };
  struct Gap {
    std::vector<Choice> choices;  // shortest first; the last one is taken
    Time end{0};
    bool isSettled = false;
  };

  // Intervals in a row that look like equally many lost frames each, or like a lower rate.
  struct Run {
    unsigned counted = 0;
    std::int64_t ticks = 0;
    unsigned length = 0;
    std::int64_t excess = 0;  // steps beyond those of the lower rate
  };

  Interval intervalTo(const FirstPacket& packet) const;
  void choose(Interval& interval, Time arrival);
  void assume(Interval& interval);
  void follow(const Choice& choice, Time arrival);
  void decide(Time arrival);
  void checkRun(Interval& interval);
  bool isUsuallyLate(std::int64_t lag) const;
  std::vector<Choice> solutions(const Interval& interval, double minPeriod, double maxPeriod) const;
  void replace(const Choice& former, const Choice& better);
  void checkLag(Time arrival, std::int64_t elapsed);
  bool shortenLatestGap();
  void settleGaps(Time arrival, std::int64_t lag);
  void followLag(Time arrival, std::int64_t elapsed, std::int64_t lag);
  std::int64_t minLag() const;

  std::optional<FirstPacket> last_;
  Frame latest_{.number = -1};
  double period_ = 0;
  double formerPeriod_ = 0;   // before a change of rate
  bool isConfirmed_ = false;  // by two intervals in a row
  std::int64_t ticksOfPeriod_ = 0, stepsOfPeriod_ = 0;
  std::vector<Interval> undecided_;  // no multiple of the period
  Run run_;

  // Lag: arrival minus the glove's clock.
  std::array<std::int64_t, 2> minLags_{};  // of this window of time and of the previous one
  Time windowEnd_{0};
  std::vector<Gap> gaps_;           // open ones, oldest first
  std::optional<Time> usualSince_;  // since when packets are as late as usual
  std::int64_t correction_ = 0;
  std::uint64_t ambiguous_ = 0;
};
