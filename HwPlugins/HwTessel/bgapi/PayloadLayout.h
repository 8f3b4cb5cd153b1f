// Fields of received payloads, at their published offsets. A field is called with the payload:
// `scan_response::dataLength(payload)`.
#pragma once

#include "bgapi/MessageFormat.h"

namespace bgapi {

struct U8Field {
  std::size_t offset;
  constexpr std::uint8_t operator()(Payload payload) const { return payload[offset]; }
};

struct U16Field {
  std::size_t offset;
  constexpr std::uint16_t operator()(Payload payload) const
  {
    return readU16le(payload.subspan(offset).first<2>());
  }
};

// The end of a payload: from the offset to the end of the buffer, whatever length the payload claims.
template <std::size_t offset>
constexpr std::span<const std::uint8_t, payloadCapacity - offset> rest(Payload payload)
{
  return payload.subspan<offset>();
}

// ble_rsp_system_get_info
namespace firmware {
inline constexpr U16Field majorNumber{0}, minorNumber{2}, patch{4}, build{6};
}

// Responses to commands of the classes connection and attclient.
namespace connection_response {
inline constexpr U8Field connection{0};
inline constexpr U16Field result{1};
}  // namespace connection_response

// Responses to commands of the class gap; the connection is that of ble_rsp_gap_connect_direct.
namespace gap_response {
inline constexpr U16Field result{0};
inline constexpr U8Field connection{2};
}  // namespace gap_response

// ble_evt_connection_status
namespace connection_status {
inline constexpr U8Field connection{0}, flags{1};
inline constexpr std::uint8_t isConnected = 0x01;
}  // namespace connection_status

// ble_evt_connection_disconnected
namespace disconnected {
inline constexpr U8Field connection{0};
}

// ble_evt_attclient_procedure_completed
namespace procedure_completed {
inline constexpr U8Field connection{0};
inline constexpr U16Field result{1}, handle{3};
}  // namespace procedure_completed

// ble_evt_attclient_group_found
namespace group_found {
inline constexpr U8Field connection{0}, uuidLength{5};
inline constexpr U16Field start{1}, end{3};
inline constexpr auto uuid = rest<6>;
}  // namespace group_found

// ble_evt_attclient_find_information_found
namespace information_found {
inline constexpr U8Field connection{0};
inline constexpr U16Field handle{1};
inline constexpr auto uuid = rest<4>;
}  // namespace information_found

// ble_evt_attclient_attribute_value
namespace attribute_value {
inline constexpr U8Field connection{0}, length{4};
inline constexpr U16Field handle{1};
inline constexpr auto value = rest<5>;
}  // namespace attribute_value

// ble_evt_gap_scan_response
namespace scan_response {
inline constexpr U8Field dataLength{10};
inline constexpr auto sender = rest<2>;
inline constexpr auto data = rest<11>;
}  // namespace scan_response

}  // namespace bgapi
