// Which glove a connection or an address is: the side and the name under which the dongle heard it.
// Threads: one. Memory is bounded. Names are foreign text.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "host/capture/HeardDevices.h"
#include "host/capture/LinkDecoder.h"

class GloveNames final : private LinkListener {
 public:
  // The blocks of a capture, in order.
  void add(const CaptureBlock& block) { decoder_.add(block); }

  // The advertised name of the glove with this address, in wire order; empty if none was heard.
  std::string_view name(std::span<const std::uint8_t> address) const;
  // Of the latest glove of a connection.
  std::string_view name(std::size_t connection) const;
  // "left" or "right"; empty if the address is of no glove that was heard.
  std::string_view side(std::span<const std::uint8_t> address) const;
  // Without a name, the plug-in's order: the left, or only, glove has connection 0. Empty for others.
  std::string_view side(std::size_t connection) const;

 private:
  void begin() override {}
  void message(Time) override {}
  void advertisement(const Advertisement& advertisement) override { heard_.add(advertisement); }
  void notificationsBegin(std::size_t, Time) override {}
  void notificationsEnd(std::size_t, Time) override {}
  void packet(std::size_t, Packet, Time) override {}

  LinkDecoder decoder_{*this};
  HeardDevices heard_;
};
