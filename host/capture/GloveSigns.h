// What a glove's packets show besides its frames: that it sends, its battery, and the sensors that it reports
// as faulty. Has its own reading of the wire format. Threads: one. Errors: none; nothing received is trusted.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

#include "host/capture/LinkDecoder.h"

// Below this level a glove should be charged.
inline constexpr double lowBattery = 0.25;

// Of a glove's battery code, from 0, empty, to 1. Empty for a code beyond the scale.
std::optional<double> batteryLevel(std::uint8_t code);

class GloveSigns {
 public:
  using Time = std::chrono::nanoseconds;

  void beginConnection(Time time);
  void add(LinkListener::Packet packet, Time time);
  // The value of its status attribute, which the plug-in reads before a connection begins, unless it is set
  // to skip that; compact packets carry no faults.
  void addSensorStatus(std::span<const std::uint8_t> status);
  void forgetSensorStatus() { faultySensors_ = 0; }

  // The latest packet, or the begin of the connection; empty before the first one.
  std::optional<Time> heard() const { return heard_; }
  std::optional<std::uint8_t> batteryCode() const { return batteryCode_; }
  unsigned faultySensors() const { return faultySensors_; }

 private:
  std::optional<Time> heard_;
  std::optional<std::uint8_t> batteryLow_;  // if the latest packet had it
  std::optional<std::uint8_t> batteryCode_;
  unsigned faultySensors_ = 0;
};
