#include "host/capture/Causes.h"

#include <algorithm>

namespace {

namespace message_class = simulator::message_class;

constexpr std::uint8_t attributeWrite = 5;
constexpr std::uint8_t attributeValue = 5;

bool belongsToConnection(std::uint8_t group)
{
  return group == message_class::connection || group == message_class::attclient;
}

}  // namespace

Causes::Key Causes::key(std::uint8_t group, std::uint8_t id, std::uint8_t connection)
{
  const std::uint8_t part = belongsToConnection(group) ? connection : std::uint8_t{0};
  return static_cast<Key>(group) << 16 | static_cast<Key>(id) << 8 | part;
}

void Causes::add(std::size_t index, const simulator::Command& command)
{
  const std::uint8_t connection = simulator::PayloadReader(command.payload).u8();
  commands_[key(command.group, command.id, connection)] = index;
  latest_ = index;
  if (command.group != message_class::attclient) return;
  procedures_[connection] = index;
  if (isSubscription(command)) subscriptions_[connection] = index;
}

// A CCCD has two bytes: bit 0 is for notifications, bit 1 for indications.
bool Causes::isSubscription(const simulator::Command& command)
{
  if (command.group != message_class::attclient || command.id != attributeWrite) return false;
  simulator::PayloadReader payload(command.payload);
  payload.u8();
  payload.u16();
  const auto value = payload.array();
  return value.size() == 2 && (value[0] == 1 || value[0] == 2) && value[1] == 0;
}

std::optional<std::size_t> Causes::find(const std::map<Key, std::size_t>& commands, Key key)
{
  const auto entry = commands.find(key);
  return entry == commands.end() ? std::nullopt : std::optional(entry->second);
}

std::optional<std::size_t> Causes::of(const Message& message) const
{
  const std::uint8_t connection = simulator::PayloadReader(message.payload).u8();
  const auto command = [&](std::uint8_t group, std::uint8_t id) {
    return find(commands_, key(group, id, connection));
  };
  if (!message.isEvent) return command(message.group, message.id);
  switch (message.group) {
    case message_class::system:
      return message.id == 6 ? latest_ : std::nullopt;  // protocol error
    case message_class::connection:
      if (message.id == 0) return std::max(command(message_class::gap, 3), command(message.group, 2));
      return command(message.group, message.id == 4 ? 0 : message.id == 1 ? 3 : message.id);
    case message_class::attclient:
      return find(isStream(message) ? subscriptions_ : procedures_, connection);
    case message_class::gap:
      return message.id == 0 ? command(message_class::gap, 2) : std::nullopt;
    default:
      return std::nullopt;
  }
}

bool Causes::isStream(const Message& message)
{
  if (!message.isEvent || message.group != message_class::attclient || message.id != attributeValue) {
    return false;
  }
  simulator::PayloadReader payload(message.payload);
  payload.u8();
  payload.u16();
  const std::uint8_t way = payload.u8();
  return way == 1 || way == 2;
}
