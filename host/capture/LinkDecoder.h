// Reads the dialogue between plug-in and dongle from the blocks of a capture: what the plug-in was told,
// message by message, and when each glove's notifications counted. Has its own reading of the wire format.
// Threads: one. Nothing received is trusted: other messages, cut ones and garbage have no effect.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

#include "host/capture/Advertisement.h"
#include "host/capture/CaptureBlock.h"
#include "host/capture/MessageReader.h"
#include "simulator/Wire.h"

// A glove is named by its connection, 0 or 1: the plug-in's left, or only, glove has 0.
class LinkListener {
 public:
  using Time = std::chrono::nanoseconds;
  using Packet = std::span<const std::uint8_t, 20>;

  virtual ~LinkListener() = default;
  // The plug-in was loaded, with empty queues.
  virtual void begin() = 0;
  // The plug-in reads a message; what it causes follows.
  virtual void message(Time time) = 0;
  virtual void advertisement(const Advertisement&) {}
  // From now on, and until it ends, the plug-in takes this glove's packets.
  virtual void notificationsBegin(std::size_t glove, Time time) = 0;
  virtual void notificationsEnd(std::size_t glove, Time time) = 0;
  virtual void packet(std::size_t glove, Packet packet, Time time) = 0;
  // One byte for each sensor position; 0 is OK.
  virtual void sensorStatus(std::size_t /*glove*/, std::span<const std::uint8_t> /*status*/) {}
};

class LinkDecoder {
 public:
  static constexpr std::size_t maxGloves = 2;
  using Address = Advertisement::Address;

  // The listener must outlive it.
  explicit LinkDecoder(LinkListener& listener) : listener_(listener) {}

  void add(const CaptureBlock& block);
  // Empty before the glove was connected.
  std::optional<Address> address(std::size_t glove) const { return gloves_.at(glove).address; }

 private:
  using Time = std::chrono::nanoseconds;
  enum class Notifications { off, starting, on };
  struct Glove {
    Notifications notifications = Notifications::off;
    std::uint16_t revision = 0;
    std::optional<Address> address;
  };

  void received(const CaptureBlock& block);
  void handleMessage(const Message& message, Time time);
  void handleValue(simulator::PayloadReader payload, Time time);
  void handleCompleted(simulator::PayloadReader payload, Time time);
  void sent(const CaptureBlock& block);
  void handleWrite(simulator::PayloadReader payload, Time time);
  void end(std::size_t glove, Time time);
  void endAll(Time time);

  LinkListener& listener_;
  std::array<Glove, maxGloves> gloves_;
  MessageReader received_;
  simulator::CommandParser sent_;
  std::optional<Address> connecting_;
};
