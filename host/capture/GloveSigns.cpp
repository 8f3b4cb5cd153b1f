#include "host/capture/GloveSigns.h"

#include <algorithm>
#include <utility>

std::optional<double> batteryLevel(std::uint8_t code)
{
  constexpr int fullCode = 19;
  constexpr double step = 0.125;
  if (code > fullCode) return std::nullopt;
  return std::max(0.0, 1 - (fullCode - code) * step);
}

void GloveSigns::beginConnection(Time time)
{
  heard_ = time;
  batteryLow_.reset();
}

// Packet 1 has the lower four bits of the battery code, packet 2 of the same frame the upper one.
void GloveSigns::add(LinkListener::Packet packet, Time time)
{
  heard_ = time;
  const unsigned index = packet[0] & 0x0FU;
  const auto low = std::exchange(batteryLow_, std::nullopt);
  if (index == 1) batteryLow_ = static_cast<std::uint8_t>(packet[1] >> 4);
  if (index == 2 && low) batteryCode_ = static_cast<std::uint8_t>(*low | (packet[1] & 0x10));
}

void GloveSigns::addSensorStatus(std::span<const std::uint8_t> status)
{
  faultySensors_ =
      static_cast<unsigned>(std::ranges::count_if(status, [](std::uint8_t sensor) { return sensor != 0; }));
}
