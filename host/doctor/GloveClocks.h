// How fast the clock of each glove runs compared with this computer's, and how often it samples, from a wire
// capture. Threads: one. Throws only std::bad_alloc. Memory is bounded, however long the capture is.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <utility>

#include "host/capture/CaptureReader.h"
#include "host/capture/DeviceTime.h"
#include "host/capture/GloveAccount.h"
#include "host/capture/LinkDecoder.h"

// Fraction by which a clock runs fast, e.g. 75e-6, and how far that may be wrong.
struct ClockError {
  double value = 0;
  double bound = 0;
};

class GloveClocks final : private LinkListener {
 public:
  // The next bytes of the capture.
  void add(std::span<const std::uint8_t> bytes);

  // Of the glove's latest connection; empty after less than five seconds.
  std::optional<ClockError> error(std::size_t glove) const { return gloves_.at(glove).error(); }
  // By the glove's own clock: of the shortest time between two frames. Empty before the second frame.
  std::optional<double> framesPerSecond(std::size_t glove) const
  {
    return gloves_.at(glove).framesPerSecond();
  }

 private:
  class Glove final : private GloveAccount::Listener {
   public:
    Glove() { account_.setListener(this); }

    void begin(Time time) { account_.beginConnection(time); }
    void end(Time time) { account_.endConnection(time); }
    void add(Packet packet, Time time);
    std::optional<ClockError> error() const;
    std::optional<double> framesPerSecond() const;

   private:
    struct Origin {
      std::int64_t ticks;
      Time arrival;
    };
    // By which frames arrive behind the glove's clock: the least of a second, in seconds.
    struct LeastLag {
      double second = 0;  // of the glove's clock
      double value = std::numeric_limits<double>::infinity();
    };

    void frameBegins(std::int64_t ticks, Time arrival) override;
    void connectionBegins() override;

    GloveAccount account_;
    DeviceTime time_;
    std::optional<Origin> origin_;
    std::int64_t latestTicks_ = 0;
    std::optional<std::int64_t> shortestStep_;  // ticks
    LeastLag first_, latest_, running_;
  };

  void begin() override {}
  void message(Time) override {}
  void notificationsBegin(std::size_t glove, Time time) override { gloves_.at(glove).begin(time); }
  void notificationsEnd(std::size_t glove, Time time) override { gloves_.at(glove).end(time); }
  void packet(std::size_t glove, Packet packet, Time time) override { gloves_.at(glove).add(packet, time); }

  CaptureReader reader_;
  LinkDecoder decoder_{*this};
  std::array<Glove, LinkDecoder::maxGloves> gloves_;
};
