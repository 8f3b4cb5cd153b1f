// Measurement packets for tests, built by hand from the wire format.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

using PacketBytes = std::array<std::uint8_t, 20>;

// A packet that begins with the given bytes, filled up with `fill`.
inline PacketBytes packet(std::initializer_list<int> begin, std::uint8_t fill = 0)
{
  PacketBytes bytes;
  bytes.fill(fill);
  std::size_t at = 0;
  for (const int byte : begin) {
    bytes[at++] = static_cast<std::uint8_t>(byte);
  }
  return bytes;
}

// A compact frame: its first packet, with counter and clock, and the later ones. Payload bytes are `fill`.
inline std::vector<PacketBytes> compactFrame(int counter, int clock, int packetCount, std::uint8_t fill = 0)
{
  std::vector<PacketBytes> frame{packet({counter << 4, packetCount, clock >> 8, clock}, fill)};
  for (int index = 1; index < packetCount; ++index) {
    frame.push_back(packet({index, 0}, fill));
  }
  return frame;
}
