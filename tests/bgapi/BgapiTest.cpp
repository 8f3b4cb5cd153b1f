// Encoding of commands, and result names. The expected bytes are written by hand.

#include <gtest/gtest.h>

#include "bgapi/Command.h"
#include "bgapi/ErrorName.h"
#include "tests/support/Hex.h"

namespace {

using bgapi::encode;
using bgapi::MessageClass;
using enum bgapi::ParameterType;

// A message of class 7, id 9 with these parameters.
constexpr bgapi::MessageRecord row(std::initializer_list<bgapi::ParameterType> types)
{
  return bgapi::command(MessageClass::hardware, 9, types);
}

TEST(Encode, SeparatesHeaderAndFixedParametersFromTheArray)
{
  const bgapi::Address sender{1, 2, 3, 4, 5, 6};
  const Bytes two{0x01, 0x00}, other{0xAB}, long300(300, 7);
  const struct {
    const char* name;
    bgapi::EncodedMessage message;
    const char* fixed;
    Bytes array = {};
  } cases[] = {
      {"reset", encode(ble_cmd_system_reset, {0}), "00 01 00 00 00"},
      {"no parameters", encode(ble_cmd_system_get_info, {}), "00 00 00 08"},
      {"discover", encode(ble_cmd_gap_discover, {1}), "00 01 06 02 01"},
      {"read", encode(ble_cmd_attclient_read_by_handle, {0, 24}), "00 03 04 04 00 18 00"},
      {"write", encode(ble_cmd_attclient_attribute_write, {1, 18, two}), "00 06 04 05 01 12 00 02", two},
      {"update", encode(ble_cmd_connection_update, {0, 20, 20, 0, 1000}),
       "00 09 03 02 00 14 00 14 00 00 00 E8 03"},
      {"connect", encode(ble_cmd_gap_connect_direct, {sender, 0, 8, 8, 1000, 0}),
       "00 0F 06 03 01 02 03 04 05 06 00 08 00 08 00 E8 03 00 00"},
      {"a number is truncated to its field", encode(ble_cmd_connection_disconnect, {-1}), "00 01 03 00 FF"},
      {"signed and wide", encode(row({int8, int16, uint32, int32}), {-2, -3, 0x04030201, -4}),
       "00 0B 07 09 FE FD FF 01 02 03 04 FC FF FF FF"},
      {"string", encode(row({string}), {two}), "00 03 07 09 02", two},
      {"uint16array", encode(row({uint16array}), {long300}), "01 2E 07 09 2C 01", long300},
      {"high length bits", encode(row({uint8array}), {long300}), "01 2D 07 09 2C", long300},
      {"the second array wins", encode(row({uint8array, uint8array}), {two, other}), "00 05 07 09 02 01",
       other},
      {"missing arguments are zero", encode(row({uint16, address}), {5}),
       "00 08 07 09 05 00 00 00 00 00 00 00"},
      {"an unknown code takes no argument", encode({{0, 1, 7, 9}, 0x2C1}, {5}), "00 01 07 09 05"},
  };
  for (const auto& [name, message, fixed, array] : cases) {
    EXPECT_EQ(toHex(std::span(message.bytes).first(message.length)), fixed) << name;
    EXPECT_EQ(Bytes(message.array.begin(), message.array.end()), array) << name;
  }
}

TEST(ErrorName, NamesTheFirstAndLastOfEachFamily)
{
  const struct {
    std::uint16_t code;
    const char* name;
  } cases[] = {{0, "success"},
               {0x0180, "invalid_param"},
               {0x0186, "not_connected"},
               {0x018B, "out_of_bonds"},
               {0x0200, "bt_error_success"},
               {0x0208, "bt_connection_timeout"},
               {0x0213, "bt_bt_error_remote_user_terminated"},
               {0x0301, "smp_passkey_entry_failed"},
               {0x030A, "smp_invalid_parameters"},
               {0x0401, "att_invalid_handle"},
               {0x0411, "att_insufficient_resources"},
               {0x0480, "att_application"},
               {0x0001, "unknown"},
               {0x017F, "unknown"},
               {0x0412, "unknown"},
               {0xFFFF, "unknown"}};
  for (const auto& [code, name] : cases) {
    EXPECT_STREQ(ble_error_name(code), name) << std::hex << code;
  }
}

}  // namespace
