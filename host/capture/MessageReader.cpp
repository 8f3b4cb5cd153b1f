#include "host/capture/MessageReader.h"

namespace {

constexpr std::uint8_t eventBit = 0x80;
constexpr std::size_t headerSize = 4;

}  // namespace

void MessageReader::add(std::span<const std::uint8_t> bytes)
{
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(position_));
  position_ = 0;
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

std::optional<Message> MessageReader::next()
{
  const auto bytes = rest();
  if (bytes.size() < headerSize) return std::nullopt;
  // As the plug-in reads it: the high bits of the length, which no message needs, are not used.
  const std::size_t size = headerSize + bytes[1];
  if (bytes.size() < size) return std::nullopt;
  position_ += size;
  return Message{(bytes[0] & eventBit) != 0, bytes[2], bytes[3], bytes.subspan(headerSize, bytes[1]),
                 bytes[0]};
}

bool MessageReader::isGivenUp(std::span<const std::uint8_t> nextCall) const
{
  const auto bytes = rest();
  return bytes.size() >= headerSize && nextCall.size() != headerSize + bytes[1] - bytes.size();
}

void MessageReader::clear()
{
  bytes_.clear();
  position_ = 0;
}
