#include "stream/PacketStore.h"

#include <algorithm>

#include "stream/PacketLayout.h"

namespace {

// Enough for 240 samples and more: no compact frame makes the bytestream grow.
constexpr std::size_t usualBytestream = 512;

// The longer queue is trimmed to this depth to realign two gloves.
constexpr std::size_t trimmedDepth = 2;

}  // namespace

std::array<PacketStore, MAX_DEVICES> stream_state::stores;

PacketStore::PacketStore() : bytestream_(usualBytestream) {}

void PacketStore::setPacketFormat(std::uint32_t format)
{
  packetFormat_ = format;
  // Intentional: switching back to extended packets does not restore the width of 8.
  if (format == 0) counterShift_ = 4;
}

PacketStore::Result PacketStore::addPacket(Packet packet, std::span<const std::uint8_t> following)
{
  const bool isCompact = packetFormat_ == 0;
  const std::uint8_t index = isCompact ? compact::index(packet) : extended::index(packet);
  if (index != expectedPacket_) {
    // Intentional: even a packet 0 is dropped here and starts no frame, so a lost last packet costs two
    // frames.
    discardFrame();
    return Result::refused;
  }
  ++expectedPacket_;
  try {
    if (index == 0) return isCompact ? startCompactFrame(packet) : startExtendedFrame(packet);
    return isCompact ? continueCompactFrame(packet, index) : continueExtendedFrame(packet, index, following);
  } catch (...) {
    // Without memory this frame is lost, and not the next one, too.
    discardFrame();
    throw;
  }
}

void PacketStore::discardFrame()
{
  bytestream_.clear();
  expectedPacket_ = 0;
}

void PacketStore::startFrame(std::uint16_t clock, std::uint8_t counter, std::uint8_t packetCount)
{
  widenClock(clock);
  widenCounter(counter, counterShift_);
  lastPacket_ = packetCount - 1;
  bytestream_.clear();
}

PacketStore::Result PacketStore::startCompactFrame(Packet packet)
{
  startFrame(compact::clock(packet), compact::counter(packet), compact::packetCount(packet));
  bytestream_.append(packet.subspan<compact::firstHeader>());
  frameFault_ = 0;
  if (batteryLow_ >= 0 && batteryHigh_ >= 0) batteryCode_ = batteryLow_ + batteryHigh_;
  batteryLow_ = -1;
  batteryHigh_ = -1;
  return Result::done;
}

PacketStore::Result PacketStore::startExtendedFrame(Packet packet)
{
  startFrame(extended::clock(packet), extended::counter(packet), extended::packetCount(packet));
  bytestream_.append(packet.subspan<extended::firstHeader>());
  frameFault_ = extended::fault(packet);
  return Result::done;
}

PacketStore::Result PacketStore::continueCompactFrame(Packet packet, std::uint8_t index)
{
  if (index == 1) batteryLow_ = compact::batteryLow(packet);
  if (index == 2) batteryHigh_ = compact::batteryHigh(packet);
  bytestream_.append(packet.subspan<compact::laterHeader>());
  return index == lastPacket_ ? completeFrame() : Result::done;
}

PacketStore::Result PacketStore::continueExtendedFrame(Packet packet, std::uint8_t index,
                                                       std::span<const std::uint8_t> following)
{
  // Intentional: the length is not limited, and a longer payload continues into the bytes after the packet.
  const std::size_t length = extended::payloadLength(packet);
  const auto inPacket = packet.subspan<extended::laterHeader>();
  const std::size_t taken = std::min(length, inPacket.size());
  const std::size_t takenFollowing = std::min(length - taken, following.size());
  bytestream_.append(inPacket.first(taken));
  bytestream_.append(following.first(takenFollowing));
  bytestream_.appendZeros(length - taken - takenFollowing);
  return index == lastPacket_ ? completeFrame() : Result::done;
}

PacketStore::Result PacketStore::completeFrame()
{
  ++completed_;
  const Result result = publish();
  discardFrame();
  return result;
}

PacketStore::Result PacketStore::publish()
{
  if (frameFault_ != 0) return Result::refused;
  if (bytestream_.size() % 2 != 0) return Result::unusable;
  Framelet framelet{.module = module_, .frameNumber = frameNumber_, .timeStamp = timeStamp_, .samples = {}};
  framelet.samples.resize(bytestream_.size() / 2);
  const std::uint8_t* bytes = bytestream_.data();
  for (std::uint16_t& sample : framelet.samples) {
    sample = static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
    bytes += 2;
  }
  framelets_.push_back(std::move(framelet));
  return Result::done;
}

void PacketStore::widenClock(std::uint16_t clock)
{
  // Intentional: a repeated clock counts as a full wrap, unlike a repeated frame counter, so timestamps
  // always advance.
  if (lastClock_ >= clock) ++clockWraps_;
  timeStamp_ = std::uint32_t{clockWraps_} << 16 | clock;
  lastClock_ = clock;
}

void PacketStore::widenCounter(std::uint8_t counter, unsigned shift)
{
  if (lastCounter_ > counter) ++counterWraps_;
  frameNumber_ = static_cast<std::int32_t>(counterWraps_ << shift | counter);
  lastCounter_ = counter;
}

PacketStore::Result PacketStore::takeFramelet(std::vector<Framelet>& out, bool trim)
{
  if (framelets_.empty()) return Result::unusable;
  while (trim && framelets_.size() > trimmedDepth) {
    framelets_.pop_front();
  }
  out.push_back(std::move(framelets_.front()));
  framelets_.pop_front();
  return Result::done;
}
