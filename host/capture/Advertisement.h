// What the dongle hears from a device while it looks for gloves: gloves and others.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

#include "host/capture/MessageReader.h"

struct Advertisement {
  using Address = std::array<std::uint8_t, 6>;  // in wire order

  Address address{};
  int rssi = 0;                          // dBm
  std::span<const std::uint8_t> data{};  // AD structures as sent, valid as long as the message
  std::chrono::nanoseconds time{0};
};

// Empty if the message is not a complete scan response.
std::optional<Advertisement> advertisementIn(const Message& message, std::chrono::nanoseconds time);
