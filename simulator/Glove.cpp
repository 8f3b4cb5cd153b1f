#include "simulator/Glove.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "simulator/Wire.h"

namespace simulator {

namespace {

constexpr std::size_t queueBound = 2000;
constexpr std::size_t samplesOfFirstPacket = 8;
constexpr std::size_t samplesOfLaterPacket = 9;

std::uint16_t defaultMovement(std::size_t element, std::uint64_t frame)
{
  // Odd factors: neither elements nor frames repeat within 65536.
  return static_cast<std::uint16_t>(element * 487 + frame * 13 + 1);
}

std::size_t packetsOf(const GloveConfig& config)
{
  return std::clamp<std::size_t>(config.packetsPerFrame, 2, 15);
}

}  // namespace

std::size_t GloveConfig::elements() const
{
  return samplesOfFirstPacket + (packetsOf(*this) - 1) * samplesOfLaterPacket;
}

Glove::Glove(VirtualClock& clock, GloveConfig gloveConfig) : config(std::move(gloveConfig)), clock_(clock) {}

void Glove::fallSilent()
{
  silent_ = true;
  stopNotifications();
}

void Glove::leaveRange()
{
  if (!std::exchange(inRange_, false)) return;
  if (peer_) peer_->gloveLeft();
}

void Glove::comeBack()
{
  silent_ = false;
  if (!std::exchange(inRange_, true) && peer_) peer_->packetsWait();
}

void Glove::restart()
{
  frames_ = droppedFrames_ = 0;
  lastFrameTaken_.reset();
  commands_.clear();
}

void Glove::disconnect()
{
  peer_ = nullptr;
  stopNotifications();
}

Glove::ReadResult Glove::read(std::uint16_t attribute) const
{
  const Attribute* row = findAttribute(attribute);
  if (!row) return {result::invalidHandle};
  if (!row->allows(access::read)) return {result::readNotPermitted};
  return {result::success, valueOf(*row)};
}

std::vector<std::uint8_t> Glove::valueOf(const Attribute& attribute) const
{
  constexpr std::size_t maxNameLength = 248;
  constexpr std::uint8_t unknownAppearance = 0;
  switch (attribute.handle) {
    case handle::deviceName: {
      const auto name = config.name.substr(0, maxNameLength);
      return {name.begin(), name.end()};
    }
    case handle::appearance:
      return {unknownAppearance, 0};
    case handle::configuration:
      return {std::uint8_t{isNotifying()}, 0};
    case handle::status:
      return {config.sensorStatus.begin(), config.sensorStatus.end()};
    case handle::version:
      return versionRecord();
    case handle::followUp:
      return {0, 0};
    default:
      return declaredBy(attribute);
  }
}

std::uint16_t Glove::write(std::uint16_t attribute, std::span<const std::uint8_t> value)
{
  const Attribute* row = findAttribute(attribute);
  if (!row) return result::invalidHandle;
  if (!row->allows(access::write)) return result::writeNotPermitted;
  if (attribute == handle::command) {
    commands_.emplace_back(value.begin(), value.end());
    return result::success;
  }
  if (faults.notificationResult != result::success) return faults.notificationResult;
  if (value.size() != 2) return result::invalidValueLength;
  if (value[0] & 1) {
    startNotifications();
  } else {
    stopNotifications();
  }
  return result::success;
}

Packet Glove::takePacket()
{
  const QueuedPacket packet = queue_.front();
  queue_.pop_front();
  lastFrameTaken_ = packet.frame;
  if (onPacketTaken) onPacketTaken(packet.frame);
  return packet.bytes;
}

// Marker, checksum of the remaining bytes, part number, revision, build, commit, build time.
std::vector<std::uint8_t> Glove::versionRecord() const
{
  std::vector<std::uint8_t> record{0x85, 0};
  appendU16(record, config.partNumber);
  appendU16(record, config.revision);
  appendU16(record, config.build);
  appendU32(record, config.commit);
  appendU32(record, config.buildTime);
  const unsigned sum = std::accumulate(record.begin() + 2, record.end(), 0U);
  record[1] = static_cast<std::uint8_t>(faults.wrongChecksum ? sum + 1 : sum);
  return record;
}

void Glove::startNotifications()
{
  if (isNotifying()) return;
  sampling_ = std::make_shared<const bool>(true);
  pace_ = {clock_.now(), static_cast<double>(config.firstClock), config.framesPerSecond, config.clockError,
           0};
  scheduleFrame();
}

void Glove::stopNotifications()
{
  sampling_.reset();
  queue_.clear();
  swapped_.reset();
}

// Seconds of the glove's own clock.
double Glove::Pace::deviceSeconds() const
{
  return static_cast<double>(frames) / std::clamp(framesPerSecond, 0.001, 1000.0);
}

Duration Glove::elapsed() const
{
  return Duration{std::llround(pace_.deviceSeconds() * 1e6 / (1 + pace_.clockError))};
}

double Glove::deviceTicks() const
{
  return pace_.ticks + pace_.deviceSeconds() * 1e4;
}

void Glove::scheduleFrame()
{
  if (pace_.framesPerSecond != config.framesPerSecond || pace_.clockError != config.clockError) {
    pace_ = {pace_.start + elapsed(), deviceTicks(), config.framesPerSecond, config.clockError, 0};
  }
  ++pace_.frames;
  clock_.after(pace_.start + elapsed() - clock_.now(), [this, life = std::weak_ptr<const bool>(sampling_)] {
    if (life.expired()) return;
    sampleFrame();
    if (!life.expired()) scheduleFrame();
  });
}

void Glove::sampleFrame()
{
  SentFrame frame{frames_++, static_cast<std::uint32_t>(std::llround(deviceTicks())), {}};
  frame.samples.resize(config.elements());
  for (std::size_t element = 0; element < frame.samples.size(); ++element) {
    frame.samples[element] =
        config.movement ? config.movement(element, frame.number) : defaultMovement(element, frame.number);
  }
  queueFrame(frame, packetsOf(config));
  if (onFrame) onFrame(frame);
}

// First packet:  frame counter and index 0 | packet count | clock, high byte first | 8 samples
// Later packets: index | battery code, in two of them | 9 samples
void Glove::queueFrame(const SentFrame& frame, std::size_t packets)
{
  std::vector<std::uint8_t> stream;
  stream.reserve(2 * frame.samples.size());
  for (const std::uint16_t sample : frame.samples) {
    stream.push_back(static_cast<std::uint8_t>(sample >> 8));
    stream.push_back(static_cast<std::uint8_t>(sample));
  }
  auto next = stream.cbegin();
  for (std::size_t index = 0; index < packets; ++index) {
    Packet packet{static_cast<std::uint8_t>(index)};
    auto payload = packet.begin() + 2;
    if (index == 0) {
      packet[0] = static_cast<std::uint8_t>(frame.number << 4);
      packet[1] = static_cast<std::uint8_t>(packets);
      packet[2] = static_cast<std::uint8_t>(frame.ticks >> 8);
      packet[3] = static_cast<std::uint8_t>(frame.ticks);
      payload = packet.begin() + 4;
    } else if (index == 1) {
      packet[1] = static_cast<std::uint8_t>(config.batteryCode << 4);
    } else if (index == 2) {
      packet[1] = config.batteryCode & 0x10;
    }
    const auto end = next + (packet.end() - payload);
    std::copy(next, end, payload);
    next = end;
    queuePacket({frame.number, packet});
  }
  while (queue_.size() > queueBound) {
    dropOldestFrame();
  }
  if (peer_) peer_->packetsWait();
}

void Glove::queuePacket(const QueuedPacket& packet)
{
  const PacketFault fault = faults.packetFault ? faults.packetFault(packets_) : PacketFault::none;
  ++packets_;
  if (!isNotifying()) return;  // a callback may have ended it
  if (fault == PacketFault::swapped && !swapped_) {
    swapped_ = packet;
    return;
  }
  if (fault != PacketFault::lost) queue_.push_back(packet);
  if (fault == PacketFault::doubled) queue_.push_back(packet);
  if (swapped_) queue_.push_back(*std::exchange(swapped_, std::nullopt));
}

// Keeps the rest of a frame that is already being sent.
void Glove::dropOldestFrame()
{
  const auto oldest = std::ranges::find_if(
      queue_, [this](const QueuedPacket& packet) { return packet.frame != lastFrameTaken_; });
  std::erase_if(queue_,
                [frame = oldest->frame](const QueuedPacket& packet) { return packet.frame == frame; });
  ++droppedFrames_;
}

}  // namespace simulator
