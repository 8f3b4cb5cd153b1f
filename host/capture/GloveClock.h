// Maps the clock of one glove to the program's clock, over connections and changes of the glove.
// Threads: one. Throws only std::bad_alloc. Time: of host::uptime().
#pragma once

#include <cstdint>
#include <optional>

#include "host/capture/DeviceTime.h"
#include "host/capture/GloveAccount.h"
#include "host/capture/LinkDecoder.h"

class GloveClock final : public GloveAccount::Listener {
 public:
  // The decoder must outlive it.
  GloveClock(const LinkDecoder& decoder, std::size_t glove) : decoder_(decoder), glove_(glove) {}

  void frameBegins(std::int64_t ticks, DeviceTime::Time arrival) override;
  void connectionBegins() override;

  // See DeviceTime.
  std::optional<DeviceTime::Time> timeOf(std::int64_t ticks) { return time_.timeOf(ticks); }
  const DeviceTime& time() const { return time_; }

 private:
  const LinkDecoder& decoder_;
  const std::size_t glove_;
  DeviceTime time_;
  std::optional<LinkDecoder::Address> address_;  // of the glove whose clock it is
  std::int64_t latestTicks_ = 0;
};
