// Maps a glove's clock to the program's clock, from the arrivals of its first packets: see docs/time.md.
// A frame waits for a connection event, and at times in a queue, so that it arrives late, but never early.
// The lower envelope of the arrivals is therefore the time of sampling, apart from a constant delay. Threads:
// one. Memory and work per frame are bounded, however long it runs.
#pragma once

#include <array>
#include <bitset>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

class DeviceTime {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  // A first packet arrived. `ticks`: the glove's clock, 0.1 ms, not wrapped. Repeats do no harm. Smaller
  // ticks than before, or ticks further ahead than a crystal can be, mean that the glove's clock has jumped,
  // which counts as a restart.
  void addArrival(std::int64_t ticks, Time arrival);
  // When the frame with these ticks was sampled, apart from a constant delay. Depends on the arrivals added
  // before, which must include the frame's own and should include all that came in the same read. Never
  // decreases; between restarts it advances by 0.995 to 1.005 of the glove's clock. For a frame from before
  // the latest restart it stands still, or is unknown if it was not asked before.
  std::optional<Time> timeOf(std::int64_t ticks);
  // The glove's clock starts again: a new connection. The time may then jump forward, but not back.
  void restart();
  // The same, with another glove.
  void forgetClock();

  // How far the earliest arrival of 10 s typically (median) is from the fit: what the fit does not explain.
  double residualMs() const;
  // How many different milliseconds the frames of 5 s typically (median) waited: from 1 if all wait equally
  // long, to the connection interval if the phase between frames and connection events sweeps it in that
  // time.
  int observedPhaseMs() const;
  // Fraction by which the glove's clock runs fast, e.g. 75e-6. Empty until it was observed for a minute.
  std::optional<double> clockError() const;

 private:
  // An arrival, in seconds: on the glove's clock, and by how much the program's clock was then ahead of it,
  // both counted from the origin.
  struct Point {
    double device;
    double lag;
  };
  struct Origin {
    std::int64_t ticks;
    Time arrival;
  };
  // The lag of frames that do not wait. It changes with the error of the glove's clock.
  struct Line {
    Point touched;
    double slope;

    double at(double device) const { return touched.lag + slope * (device - touched.device); }
    double distanceOf(const Point& point) const { return point.lag - at(point.device); }
  };
  struct Output {
    std::int64_t ticks;
    Time time;
    bool isOfThisSegment;
  };

  Point pointOf(std::int64_t ticks, Time arrival) const;
  // True if it is the first point of its period.
  bool keep(const Point& point);
  void fit();
  void findHull();
  double slopeBelowCentre() const;
  void observePhase(const Point& point);

  std::optional<Origin> origin_;  // the first arrival since the restart
  std::int64_t latestTicks_ = 0;
  std::vector<Point> earliest_;  // of each period in the window, oldest first
  std::vector<Point> hull_;      // the lower convex hull of these
  Line line_{};
  std::optional<double> knownSlope_;  // outlasts a restart, since the crystal stays the same
  std::optional<double> exactSlope_;  // the latest one that waiting can't have falsified
  std::optional<Output> output_;
  // The span of time whose phases are being counted.
  double spanBegin_ = 0;
  double spanLag_ = 0;
  std::bitset<100> phases_;                         // the milliseconds that occurred
  std::array<std::uint32_t, 101> spansByPhases_{};  // number of spans, by their number of phases
};
