// The payload of a message as the fields that its format names. Nothing received is trusted: a payload may be
// shorter or longer than its format, and is never filled in.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "host/trace/MessageTable.h"

struct FieldValue {
  FieldFormat format;
  std::int64_t number = 0;                // of a number; of an array, the length that it announces
  std::span<const std::uint8_t> bytes{};  // of an address or array; fewer than announced if it is cut
};

class Payload {
 public:
  static constexpr std::size_t maxFields = 8;

  // The bytes must outlive it.
  Payload(std::span<const FieldFormat> formats, std::span<const std::uint8_t> bytes);

  std::span<const FieldValue> fields() const { return std::span(fields_).first(count_); }
  // Fields that the payload is too short for.
  std::span<const FieldFormat> missing() const { return missing_; }
  // Bytes beyond its fields, or of a field that is not complete.
  std::span<const std::uint8_t> extra() const { return extra_; }

  // The first field of this type.
  const FieldValue* find(FieldType type) const;

 private:
  std::array<FieldValue, maxFields> fields_{};
  std::size_t count_ = 0;
  std::span<const FieldFormat> missing_;
  std::span<const std::uint8_t> extra_;
};
