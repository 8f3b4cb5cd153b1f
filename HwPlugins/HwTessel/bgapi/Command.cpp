#include "bgapi/Command.h"

#include <algorithm>

namespace bgapi {

namespace {

void writeLittleEndian(std::span<std::uint8_t> to, std::uint32_t value)
{
  for (std::uint8_t& byte : to) {
    byte = static_cast<std::uint8_t>(value);
    value >>= 8;
  }
}

bool isArray(ParameterType type)
{
  return type == ParameterType::uint8array || type == ParameterType::string ||
         type == ParameterType::uint16array;
}

}  // namespace

EncodedMessage encode(const MessageRecord& record, std::initializer_list<Argument> arguments)
{
  EncodedMessage message;
  std::copy(record.header.begin(), record.header.end(), message.bytes.begin());
  message.length = headerSize + record.header[1];

  auto next = arguments.begin();
  std::size_t position = headerSize;
  for (ParameterCode code = record.code; code != 0; code >>= 4) {
    const ParameterType type = firstType(code);
    const std::size_t size = wireSize(type);
    if (size == 0) continue;
    const Argument argument = next == arguments.end() ? Argument(0) : *next++;
    const auto place = std::span(message.bytes).subspan(position, size);
    position += size;
    if (type == ParameterType::address) {
      std::copy_n(argument.bytes().begin(), std::min(size, argument.bytes().size()), place.begin());
      continue;
    }
    writeLittleEndian(place, argument.number());
    if (!isArray(type)) continue;
    message.array = argument.bytes();
    const auto length = static_cast<std::uint16_t>(message.bytes[1] + message.array.size());
    message.bytes[1] = static_cast<std::uint8_t>(length);
    message.bytes[0] |= static_cast<std::uint8_t>(length >> 8);
  }
  return message;
}

}  // namespace bgapi
