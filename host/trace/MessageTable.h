// The messages of the dongle's published protocol that programs use, with their fields.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

enum class MessageKind { command, response, event };

enum class FieldType : std::uint8_t {
  none,
  // one byte
  number8,
  signalStrength,  // signed, dBm
  connection,
  flags8,
  addressType,
  bonding,
  connectionFlags,
  valueType,
  packetType,
  discoverMode,
  discoverable,
  connectable,
  // two bytes
  number16,
  handle,
  result,
  connectionInterval,  // 1.25 ms
  scanInterval,        // 0.625 ms
  timeout,             // 10 ms
  // more
  number32,
  address,
  // a length byte, then so many bytes
  bytes,
  uuid,
  advertising,
  value,  // of the attribute that the message names
};

struct FieldFormat {
  std::string_view name;
  FieldType type = FieldType::none;
};

struct MessageFormat {
  std::string_view name;
  std::span<const FieldFormat> fields;
};

// Empty if the table has no such message.
std::optional<MessageFormat> messageFormat(MessageKind kind, std::uint8_t group, std::uint8_t id);

// Of the protocol's message class, "gap"; empty if there is none of this number.
std::string_view messageClassName(std::uint8_t group);
// Whether the protocol has a message of this number.
bool isPublished(MessageKind kind, std::uint8_t group, std::uint8_t id);

constexpr bool isArray(FieldType type)
{
  return type >= FieldType::bytes;
}

// Of a field's fixed part, in bytes.
constexpr std::size_t fixedSize(FieldType type)
{
  if (type == FieldType::none) return 0;
  if (isArray(type) || type < FieldType::number16) return 1;
  if (type < FieldType::number32) return 2;
  return type == FieldType::number32 ? 4 : 6;
}
