// Maps a glove's clock to the program's clock, from the arrivals of its first packets.
#pragma once

#include <chrono>
#include <cstdint>

class DeviceTime {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  // A first packet arrived. `ticks`: the glove's clock, 0.1 ms, not wrapped; increases within a segment.
  void addArrival(std::int64_t ticks, Time arrival);
  // When the frame with these ticks was sampled, apart from a constant delay. Uses only earlier arrivals; for
  // increasing ticks it never decreases. Call it after the frame's own arrival was added.
  Time timeOf(std::int64_t ticks);
  // The glove's clock starts again: a new connection.
  void restart();

  // Typical distance of the arrivals in the envelope from the fit, in ms.
  double residualMs() const;
  // Fraction by which the glove's clock runs fast, e.g. 75e-6.
  double clockError() const;
};
