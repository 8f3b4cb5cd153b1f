// Format of a message of BGAPI, the dongle's published protocol:
//
//   byte 0  bit 7: event, else command or response; bits 0-2: bits 8-10 of the payload length
//   byte 1  bits 0-7 of the payload length
//   byte 2  class
//   byte 3  id within the class; a command and its response share both
//   then    payload, numbers with the low byte first
//
// Independent of port, clock and state.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace bgapi {

inline constexpr std::size_t headerSize = 4;
using Header = std::array<std::uint8_t, headerSize>;

inline constexpr std::uint8_t eventType = 0x80;

enum class MessageClass : std::uint8_t {
  system,
  flash,
  attributes,
  connection,
  attclient,
  sm,
  gap,
  hardware,
  test,
  dfu
};
inline constexpr std::size_t classCount = 10;

// A received payload is passed at the start of a buffer of this size: a handler gets no length and may read
// all of it.
inline constexpr std::size_t payloadCapacity = 256;
using Payload = std::span<const std::uint8_t, payloadCapacity>;

// A Bluetooth device address in the byte order of the wire.
inline constexpr std::size_t addressSize = 6;
using Address = std::array<std::uint8_t, addressSize>;

inline constexpr std::uint16_t readU16le(std::span<const std::uint8_t, 2> bytes)
{
  return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline constexpr std::uint32_t readU32le(std::span<const std::uint8_t, 4> bytes)
{
  return readU16le(bytes.first<2>()) | static_cast<std::uint32_t>(readU16le(bytes.last<2>())) << 16;
}

}  // namespace bgapi
