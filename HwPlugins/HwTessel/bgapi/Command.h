// Commands to the dongle: the messages that the library sends, and their encoding.
//
// Threads: the thread that runs the link. Encoding allocates nothing and copies no array.
#pragma once

#include <concepts>
#include <iterator>

#include "bgapi/MessageRecord.h"

namespace bgapi {

// The value of one parameter: a number, an address, or an array with its length. Refers to the caller's
// bytes.
class Argument {
 public:
  // A number is truncated to the size of its parameter.
  template <std::integral Number>
  constexpr Argument(Number value) : number_(static_cast<std::uint32_t>(value))
  {
  }
  template <class Bytes>
  requires std::constructible_from < std::span<const std::uint8_t>,
  const Bytes& > constexpr Argument(const Bytes& bytes)
      : number_(static_cast<std::uint32_t>(std::size(bytes))),
  bytes_(bytes)
  {
  }

  // The number, or the length of the array.
  constexpr std::uint32_t number() const { return number_; }
  constexpr std::span<const std::uint8_t> bytes() const { return bytes_; }

 private:
  std::uint32_t number_ = 0;
  std::span<const std::uint8_t> bytes_;
};

// A parameter code holds eight types, and an address is the largest.
inline constexpr std::size_t maxFixedBytes = headerSize + 8 * addressSize;

struct EncodedMessage {
  std::array<std::uint8_t, maxFixedBytes> bytes{};  // header and fixed parameters
  std::size_t length = 0;                           // of these
  std::span<const std::uint8_t> array;              // sent after them; the caller's memory
};

// A message carries at most one array; a second one replaces the first. Missing arguments count as 0 or
// empty.
EncodedMessage encode(const MessageRecord& record, std::initializer_list<Argument> arguments);

constexpr MessageRecord command(MessageClass messageClass, std::uint8_t id,
                                std::initializer_list<ParameterType> types)
{
  return message(0, messageClass, id, parameters(types), ignore);
}

}  // namespace bgapi

// boot_in_dfu. Has no response: the dongle restarts and its port goes away.
inline constexpr auto ble_cmd_system_reset =
    bgapi::command(bgapi::MessageClass::system, 0, {bgapi::ParameterType::uint8});

inline constexpr auto ble_cmd_system_get_info = bgapi::command(bgapi::MessageClass::system, 8, {});

// connection
inline constexpr auto ble_cmd_connection_disconnect =
    bgapi::command(bgapi::MessageClass::connection, 0, {bgapi::ParameterType::uint8});

// connection, interval_min and interval_max in 1.25 ms, latency in intervals, timeout in 10 ms
inline constexpr auto ble_cmd_connection_update =
    bgapi::command(bgapi::MessageClass::connection, 2,
                   {bgapi::ParameterType::uint8, bgapi::ParameterType::uint16, bgapi::ParameterType::uint16,
                    bgapi::ParameterType::uint16, bgapi::ParameterType::uint16});

// connection, attribute handle
inline constexpr auto ble_cmd_attclient_read_by_handle = bgapi::command(
    bgapi::MessageClass::attclient, 4, {bgapi::ParameterType::uint8, bgapi::ParameterType::uint16});

// connection, attribute handle, data
inline constexpr auto ble_cmd_attclient_attribute_write = bgapi::command(
    bgapi::MessageClass::attclient, 5,
    {bgapi::ParameterType::uint8, bgapi::ParameterType::uint16, bgapi::ParameterType::uint8array});

// mode: 1 for generic discovery
inline constexpr auto ble_cmd_gap_discover =
    bgapi::command(bgapi::MessageClass::gap, 2, {bgapi::ParameterType::uint8});

// address, address type (0 public), conn_interval_min and conn_interval_max in 1.25 ms, timeout in 10 ms,
// latency in intervals
inline constexpr auto ble_cmd_gap_connect_direct = bgapi::command(
    bgapi::MessageClass::gap, 3,
    {bgapi::ParameterType::address, bgapi::ParameterType::uint8, bgapi::ParameterType::uint16,
     bgapi::ParameterType::uint16, bgapi::ParameterType::uint16, bgapi::ParameterType::uint16});

inline constexpr auto ble_cmd_gap_end_procedure = bgapi::command(bgapi::MessageClass::gap, 4, {});
