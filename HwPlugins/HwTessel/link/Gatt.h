// The attributes of a module. Its firmware lays them out always alike, so the handles are constants of the
// library and no discovery is made; the identifiers serve a dongle that reports one all the same.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace gatt {

inline constexpr std::uint16_t commandHandle = 14;      // takes remote commands
inline constexpr std::uint16_t measurementHandle = 17;  // sends the samples as notifications
inline constexpr std::uint16_t configHandle = 18;       // starts and stops them
inline constexpr std::uint16_t statusHandle = 22;       // gives the sensor status
inline constexpr std::uint16_t versionHandle = 24;      // gives the version record
inline constexpr std::uint16_t followUpHandle = 26;     // read after each command; its value says nothing

// A 128-bit identifier in the byte order in which it is sent: the written one backwards.
using Uuid = std::array<std::uint8_t, 16>;

consteval Uuid uuid(std::string_view written)
{
  Uuid bytes{};
  std::size_t digit = 2 * bytes.size();
  for (const char character : written) {
    if (character == '-') continue;
    --digit;
    const int value = character <= '9' ? character - '0' : character - 'a' + 10;
    bytes[digit / 2] = static_cast<std::uint8_t>(bytes[digit / 2] << 4 | value);
  }
  return bytes;
}

inline constexpr Uuid service = uuid("0003cbba-0000-1000-8000-00805f9b0131");
inline constexpr Uuid command = uuid("0003bbb3-0000-1000-8000-0805f9100000");
inline constexpr Uuid version = uuid("0003bbb3-0000-1000-8000-0805f9100004");

// Client characteristic configuration, a 16-bit identifier of the Bluetooth core.
inline constexpr std::array<std::uint8_t, 2> clientConfiguration{0x02, 0x29};

// What is written to the configuration.
inline constexpr std::array<std::uint8_t, 2> notificationsOn{0x01, 0x00};
inline constexpr std::array<std::uint8_t, 2> notificationsOff{0x00, 0x00};

}  // namespace gatt
