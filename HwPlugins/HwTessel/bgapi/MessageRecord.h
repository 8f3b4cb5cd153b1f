// Description of one message: its header, the types of its fixed parameters, and its handler.
#pragma once

#include <initializer_list>

#include "bgapi/MessageFormat.h"

namespace bgapi {

// The published types, as they are numbered in a parameter code. Other numbers are unused.
enum class ParameterType : std::uint8_t {
  uint8 = 2,
  int8 = 3,
  uint16 = 4,
  int16 = 5,
  uint32 = 6,
  int32 = 7,
  uint8array = 8,  // a length byte among the fixed parameters; the array itself follows them
  string = 9,      // likewise
  address = 10,
  uint16array = 11  // a length of two bytes
};

// The types of a message in order, four bits each, the first one in the lowest bits.
using ParameterCode = std::uint32_t;

constexpr ParameterCode parameters(std::initializer_list<ParameterType> types)
{
  ParameterCode code = 0;
  unsigned shift = 0;
  for (const ParameterType type : types) {
    code |= ParameterCode{static_cast<std::uint8_t>(type)} << shift;
    shift += 4;
  }
  return code;
}

constexpr ParameterType firstType(ParameterCode code)
{
  return static_cast<ParameterType>(code & 0x0F);
}

// Size of one parameter among the fixed ones, in bytes.
constexpr std::size_t wireSize(ParameterType type)
{
  switch (type) {
    case ParameterType::uint8:
    case ParameterType::int8:
    case ParameterType::uint8array:
    case ParameterType::string:
      return 1;
    case ParameterType::uint16:
    case ParameterType::int16:
    case ParameterType::uint16array:
      return 2;
    case ParameterType::uint32:
    case ParameterType::int32:
      return 4;
    case ParameterType::address:
      return addressSize;
  }
  return 0;
}

constexpr std::uint8_t fixedLength(ParameterCode code)
{
  std::size_t length = 0;
  for (; code != 0; code >>= 4) {
    length += wireSize(firstType(code));
  }
  return static_cast<std::uint8_t>(length);
}

using Handler = void (*)(Payload payload);

// For messages that are known and not used.
constexpr void ignore(Payload) {}

struct MessageRecord {
  Header header{};  // with the length of the fixed parameters
  ParameterCode code = 0;
  Handler handler = ignore;
};

constexpr MessageRecord message(std::uint8_t type, MessageClass messageClass, std::uint8_t id,
                                ParameterCode code, Handler handler)
{
  return {{type, fixedLength(code), static_cast<std::uint8_t>(messageClass), id}, code, handler};
}

}  // namespace bgapi
