#include "simulator/Wire.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

constexpr std::size_t headerLength = 4;
constexpr std::uint8_t eventBit = 0x80;
constexpr std::uint8_t lengthBits = 0x07;
constexpr std::size_t usualMessageLength = 32;

}  // namespace

void CommandParser::add(std::span<const std::uint8_t> bytes)
{
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

std::optional<Command> CommandParser::next()
{
  if (bytes_.size() < headerLength) return std::nullopt;
  const std::size_t length = (bytes_[0] & std::size_t{lengthBits}) << 8 | bytes_[1];
  if (bytes_.size() < headerLength + length) return std::nullopt;

  const auto payload = bytes_.begin() + headerLength;
  const auto end = payload + static_cast<std::ptrdiff_t>(length);
  Command command{(bytes_[0] & ~lengthBits) == 0, bytes_[2], bytes_[3], {payload, end}};
  bytes_.erase(bytes_.begin(), end);
  return command;
}

std::uint8_t PayloadReader::u8()
{
  if (rest_.empty()) return 0;
  const std::uint8_t value = rest_.front();
  rest_ = rest_.subspan(1);
  return value;
}

std::uint16_t PayloadReader::u16()
{
  const unsigned low = u8();
  const unsigned high = u8();
  return static_cast<std::uint16_t>(high << 8 | low);
}

std::array<std::uint8_t, 6> PayloadReader::address()
{
  std::array<std::uint8_t, 6> value;
  for (std::uint8_t& byte : value) {
    byte = u8();
  }
  return value;
}

std::span<const std::uint8_t> PayloadReader::array()
{
  const std::size_t length = u8();
  return rest_.first(std::min(length, rest_.size()));
}

void appendU16(std::vector<std::uint8_t>& bytes, std::uint16_t value)
{
  bytes.push_back(static_cast<std::uint8_t>(value));
  bytes.push_back(static_cast<std::uint8_t>(value >> 8));
}

void appendU32(std::vector<std::uint8_t>& bytes, std::uint32_t value)
{
  appendU16(bytes, static_cast<std::uint16_t>(value));
  appendU16(bytes, static_cast<std::uint16_t>(value >> 16));
}

MessageWriter MessageWriter::command(std::uint8_t group, std::uint8_t id)
{
  return {0, group, id};
}

MessageWriter MessageWriter::response(std::uint8_t group, std::uint8_t id)
{
  return {0, group, id};
}

MessageWriter MessageWriter::event(std::uint8_t group, std::uint8_t id)
{
  return {eventBit, group, id};
}

MessageWriter::MessageWriter(std::uint8_t type, std::uint8_t group, std::uint8_t id)
{
  message_.reserve(usualMessageLength);
  message_.assign({type, 0, group, id});
}

MessageWriter& MessageWriter::u8(std::uint8_t value)
{
  message_.push_back(value);
  return *this;
}

MessageWriter& MessageWriter::u16(std::uint16_t value)
{
  appendU16(message_, value);
  return *this;
}

MessageWriter& MessageWriter::bytes(std::span<const std::uint8_t> values)
{
  message_.insert(message_.end(), values.begin(), values.end());
  return *this;
}

MessageWriter& MessageWriter::array(std::span<const std::uint8_t> values)
{
  const std::size_t length = std::min<std::size_t>(values.size(), 255);
  return u8(static_cast<std::uint8_t>(length)).bytes(values.first(length));
}

std::vector<std::uint8_t> MessageWriter::message()
{
  const std::size_t length = message_.size() - headerLength;
  message_[0] = static_cast<std::uint8_t>(message_[0] | (length >> 8 & lengthBits));
  message_[1] = static_cast<std::uint8_t>(length);
  return std::move(message_);
}

}  // namespace simulator
