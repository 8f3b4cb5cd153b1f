// The two layouts of a measurement packet, byte by byte. Bits and bytes not named are ignored.
//
// Compact                                        Extended
//   first packet of a frame                        first packet of a frame
//   0    index (bits 0-3), counter (4-7)           1    fault (bits 3-5)
//   1    packet count (bits 0-3)                   2    index
//   2-3  clock, high byte first                    3    packet count
//   4-19 payload                                   5    counter
//   later packets                                  6-7  clock, low byte first
//   0    index (bits 0-3)                          8-19 payload
//   1    battery code: in packet 1 its bits 0-3    later packets
//        in bits 4-7; in packet 2 its bit 4        2    index
//        in place                                  3    payload length, which may exceed the packet
//   2-19 payload                                   4-   payload
//
// A repeat notice has counter and clock of an extended first packet, and in bytes 8-9, low byte first, a mask
// of the modules that it addresses. The clock counts 0.1 ms. The payloads of a frame form its samples: 16
// bits each, high byte first.
#pragma once

#include <cstddef>
#include <cstdint>

#include "stream/PacketStore.h"

namespace compact {

using Packet = PacketStore::Packet;

inline constexpr std::size_t firstHeader = 4;
inline constexpr std::size_t laterHeader = 2;

inline std::uint8_t index(Packet packet)
{
  return packet[0] & 0x0F;
}
inline std::uint8_t counter(Packet packet)
{
  return packet[0] >> 4;
}
inline std::uint8_t packetCount(Packet packet)
{
  return packet[1] & 0x0F;
}
inline std::uint16_t clock(Packet packet)
{
  return static_cast<std::uint16_t>(packet[2] << 8 | packet[3]);
}
inline std::uint8_t batteryLow(Packet packet)
{
  return packet[1] >> 4;
}
inline std::uint8_t batteryHigh(Packet packet)
{
  return packet[1] & 0x10;
}

}  // namespace compact

namespace extended {

using Packet = PacketStore::Packet;

inline constexpr std::size_t firstHeader = 8;
inline constexpr std::size_t laterHeader = 4;

inline std::uint8_t fault(Packet packet)
{
  return packet[1] >> 3 & 0x07;
}
inline std::uint8_t index(Packet packet)
{
  return packet[2];
}
inline std::uint8_t packetCount(Packet packet)
{
  return packet[3];
}
inline std::uint8_t payloadLength(Packet packet)
{
  return packet[3];
}
inline std::uint8_t counter(Packet packet)
{
  return packet[5];
}
inline std::uint16_t clock(Packet packet)
{
  return static_cast<std::uint16_t>(packet[6] | packet[7] << 8);
}
inline std::uint16_t moduleMask(Packet notice)
{
  return static_cast<std::uint16_t>(notice[8] | notice[9] << 8);
}

}  // namespace extended
