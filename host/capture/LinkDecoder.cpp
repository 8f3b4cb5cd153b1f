#include "host/capture/LinkDecoder.h"

#include <algorithm>

#include "host/capture/GloveRecords.h"

namespace {

using simulator::PayloadReader;
namespace message_class = simulator::message_class;

constexpr std::uint16_t measurementHandle = 17;
constexpr std::uint16_t configurationHandle = 18;
constexpr std::uint16_t statusHandle = 22;
constexpr std::uint16_t versionHandle = 24;
// Result and connection, and connection and reason. Bytes out of step make headers without the rest, and the
// plug-in goes on with the glove.
constexpr std::size_t connectResponseSize = 3, disconnectedSize = 3;

// Event, class and number of a message in one value.
constexpr unsigned kind(bool isEvent, std::uint8_t group, std::uint8_t id)
{
  return static_cast<unsigned>(isEvent) << 16 | static_cast<unsigned>(group) << 8 | id;
}

}  // namespace

void LinkDecoder::add(const CaptureBlock& block)
{
  switch (block.kind) {
    case CaptureBlock::Kind::section:
      endAll(block.time);
      listener_.begin();
      break;
    case CaptureBlock::Kind::received:
      received(block);
      break;
    case CaptureBlock::Kind::sent:
      sent(block);
      break;
    case CaptureBlock::Kind::note:
      // A purge, a closed port and lost blocks all end within a message at most what they interrupt.
      received_.clear();
      if (block.text == "close" || block.text == "reset" || block.text.starts_with("open"))
        endAll(block.time);
      break;
  }
}

void LinkDecoder::received(const CaptureBlock& block)
{
  const bool isWhole = block.text != "incomplete";
  if (isWhole && received_.isGivenUp(block.bytes)) received_.clear();
  received_.add(block.bytes);
  if (!isWhole) received_.clear();
  while (const auto message = received_.next()) {
    handleMessage(*message, block.time);
  }
}

void LinkDecoder::handleMessage(const Message& message, Time time)
{
  listener_.message(time);
  PayloadReader payload(message.payload);
  switch (kind(message.isEvent, message.group, message.id)) {
    case kind(true, message_class::gap, 0):
      if (const auto heard = advertisementIn(message, time)) listener_.advertisement(*heard);
      break;
    case kind(true, message_class::attclient, 5):
      handleValue(payload, time);
      break;
    case kind(true, message_class::attclient, 1):
      handleCompleted(payload, time);
      break;
    case kind(true, message_class::connection, 4):
      if (message.payload.size() >= disconnectedSize) end(payload.u8(), time);
      break;
    case kind(false, message_class::gap, 3): {
      if (message.payload.size() < connectResponseSize) break;
      const bool isDone = payload.u16() == simulator::result::success;
      const std::size_t glove = payload.u8();
      if (isDone && glove < maxGloves) gloves_[glove] = {.address = connecting_};
      break;
    }
    default:
      break;
  }
}

void LinkDecoder::handleValue(PayloadReader payload, Time time)
{
  const std::size_t glove = payload.u8();
  const std::uint16_t attribute = payload.u16();
  payload.u8();  // how the value came
  const auto value = payload.array();
  if (glove >= maxGloves) return;
  if (attribute == versionHandle) {
    const auto version = parseVersion(value);
    gloves_[glove].revision = version ? version->revision : std::uint16_t{0};
  }
  if (attribute == statusHandle) listener_.sensorStatus(glove, value);
  const bool isPacket = attribute == measurementHandle && value.size() == LinkListener::Packet::extent;
  if (isPacket && gloves_[glove].notifications == Notifications::on) {
    listener_.packet(glove, value.first<LinkListener::Packet::extent>(), time);
  }
}

void LinkDecoder::handleCompleted(PayloadReader payload, Time time)
{
  const std::size_t glove = payload.u8();
  const bool isDone = payload.u16() == simulator::result::success;
  if (glove >= maxGloves || !isDone || payload.u16() != configurationHandle) return;
  if (gloves_[glove].notifications != Notifications::starting) return;
  gloves_[glove].notifications = Notifications::on;
  listener_.notificationsBegin(glove, time);
}

void LinkDecoder::sent(const CaptureBlock& block)
{
  sent_.add(block.bytes);
  while (const auto command = sent_.next()) {
    PayloadReader payload(command->payload);
    if (!command->isCommand) continue;
    if (command->group == message_class::gap && command->id == 3) connecting_ = payload.address();
    if (command->group == message_class::attclient && command->id == 5) handleWrite(payload, block.time);
  }
}

void LinkDecoder::handleWrite(PayloadReader payload, Time time)
{
  const std::size_t glove = payload.u8();
  const std::uint16_t attribute = payload.u16();
  const auto value = payload.array();
  if (glove >= maxGloves || attribute != configurationHandle || value.empty()) return;
  if (value[0] == 0) {
    end(glove, time);
    return;
  }
  const bool confirms = gloves_[glove].revision >= confirmingRevision;
  gloves_[glove].notifications = confirms ? Notifications::starting : Notifications::on;
  if (!confirms) listener_.notificationsBegin(glove, time);
}

void LinkDecoder::end(std::size_t glove, Time time)
{
  if (glove >= maxGloves) return;
  if (gloves_[glove].notifications == Notifications::on) listener_.notificationsEnd(glove, time);
  gloves_[glove].notifications = Notifications::off;
}

void LinkDecoder::endAll(Time time)
{
  received_.clear();
  sent_.clear();
  for (std::size_t glove = 0; glove < maxGloves; ++glove) {
    end(glove, time);
  }
}
