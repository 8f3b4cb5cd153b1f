#include "host/trace/Payload.h"

#include <algorithm>

namespace {

std::int64_t readNumber(std::span<const std::uint8_t> bytes, FieldType type)
{
  if (type == FieldType::signalStrength) return static_cast<std::int8_t>(bytes[0]);
  std::uint32_t number = 0;
  for (std::size_t at = bytes.size(); at > 0; --at) {
    number = number << 8 | bytes[at - 1];
  }
  return number;
}

}  // namespace

Payload::Payload(std::span<const FieldFormat> formats, std::span<const std::uint8_t> bytes)
{
  for (; count_ < formats.size(); ++count_) {
    const FieldFormat& format = formats[count_];
    const std::size_t size = fixedSize(format.type);
    if (bytes.size() < size) break;
    FieldValue& field = fields_[count_];
    field.format = format;
    if (format.type == FieldType::address) {
      field.bytes = bytes.first(size);
    } else {
      field.number = readNumber(bytes.first(size), format.type);
    }
    bytes = bytes.subspan(size);
    if (!isArray(format.type)) continue;
    field.bytes = bytes.first(std::min(bytes.size(), static_cast<std::size_t>(field.number)));
    bytes = bytes.subspan(field.bytes.size());
  }
  missing_ = formats.subspan(count_);
  extra_ = bytes;
}

const FieldValue* Payload::find(FieldType type) const
{
  const auto shown = fields();
  const auto field =
      std::ranges::find(shown, type, [](const FieldValue& candidate) { return candidate.format.type; });
  return field == shown.end() ? nullptr : &*field;
}
