// Advertisements as the dongle reports them while it scans, and their data: AD structures, each a length, an
// AD type and a value.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "simulator/Glove.h"
#include "simulator/Wire.h"

namespace simulator {

namespace ad_type {
inline constexpr std::uint8_t flags = 0x01;
inline constexpr std::uint8_t services16 = 0x03;   // a complete list of UUIDs
inline constexpr std::uint8_t services128 = 0x07;  // likewise
inline constexpr std::uint8_t shortenedName = 0x08;
inline constexpr std::uint8_t completeName = 0x09;
inline constexpr std::uint8_t txPower = 0x0A;
inline constexpr std::uint8_t serviceData = 0x16;
inline constexpr std::uint8_t manufacturerData = 0xFF;
}  // namespace ad_type

// Bits of the value of the AD type `flags`.
namespace ad_flags {
inline constexpr std::uint8_t limited = 0x01;  // discoverable for a while, as while it is being paired
inline constexpr std::uint8_t general = 0x02;  // discoverable
inline constexpr std::uint8_t lowEnergyOnly = 0x04;
inline constexpr std::uint8_t dualMode = 0x18;
}  // namespace ad_flags

enum class AdvertisementKind : std::uint8_t {
  connectable = 0,     // ADV_IND
  nonConnectable = 2,  // ADV_NONCONN_IND
  scanResponse = 4,    // SCAN_RSP
  scannable = 6,       // ADV_SCAN_IND
};

struct ScanReport {
  std::int8_t rssi = 0;  // dBm
  AdvertisementKind kind = AdvertisementKind::connectable;
  Address address{};
  std::uint8_t addressType = publicAddress;
  std::uint8_t flags = 0;  // of its advertisement, in a scan response too
  std::vector<std::uint8_t> data{};
};

// The value has up to 254 bytes.
inline void appendStructure(std::vector<std::uint8_t>& data, std::uint8_t type,
                            std::span<const std::uint8_t> value)
{
  data.push_back(static_cast<std::uint8_t>(value.size() + 1));
  data.push_back(type);
  for (const std::uint8_t byte : value) {
    data.push_back(byte);
  }
}

}  // namespace simulator
