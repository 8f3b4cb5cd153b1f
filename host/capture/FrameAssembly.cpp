#include "host/capture/FrameAssembly.h"

#include <utility>

std::optional<std::vector<std::uint16_t>> FrameAssembly::add(LinkListener::Packet packet)
{
  constexpr std::size_t firstHeader = 4;
  constexpr std::size_t laterHeader = 2;
  const unsigned index = packet[0] & 0x0FU;
  if (index != next_) {
    next_ = 0;
    return std::nullopt;
  }
  ++next_;
  if (index == 0) {
    last_ = (packet[1] & 0x0FU) - 1;
    samples_.clear();
  }
  for (std::size_t at = index == 0 ? firstHeader : laterHeader; at + 1 < packet.size(); at += 2) {
    samples_.push_back(static_cast<std::uint16_t>(packet[at] << 8 | packet[at + 1]));
  }
  // A frame of one packet never ends: the next first packet discards it.
  if (index == 0 || index != last_) return std::nullopt;
  next_ = 0;
  return std::exchange(samples_, {});
}
