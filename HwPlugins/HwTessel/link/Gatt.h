// The attributes of a module. All modules have the same layout, so the handles are constants and no service
// discovery is made; the UUIDs are for a dongle that reports them nevertheless.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace gatt {

inline constexpr std::uint16_t commandHandle = 14;      // takes remote commands
inline constexpr std::uint16_t measurementHandle = 17;  // sends the samples as notifications
inline constexpr std::uint16_t configHandle = 18;       // CCCD: starts and stops them
inline constexpr std::uint16_t statusHandle = 22;       // returns the sensor status
inline constexpr std::uint16_t versionHandle = 24;      // returns the version record
inline constexpr std::uint16_t followUpHandle = 26;     // read after each command; its value is not used

// A 128-bit UUID in wire order: the reverse of its written form.
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

// Client characteristic configuration descriptor, a 16-bit UUID.
inline constexpr std::array<std::uint8_t, 2> clientCharacteristicConfiguration{0x02, 0x29};

// Values of the CCCD.
inline constexpr std::array<std::uint8_t, 2> notificationsOn{0x01, 0x00};
inline constexpr std::array<std::uint8_t, 2> notificationsOff{0x00, 0x00};

}  // namespace gatt
