// Messages to and from the current device's dongle.
//
// Threads: the thread that runs the link; a handler runs within the receive that read its message, and may
// send. Allocates nothing of its own but for the device's error list; a frame that a packet completes and a
// transfer that the system splits do.
#pragma once

#include "bgapi/MessageRecord.h"

// Results of a receive.
namespace receiving {
inline constexpr std::int32_t handled = 0;  // a message was read and its handler has run
inline constexpr std::int32_t nothing = 1;  // a read delivered nothing in time
inline constexpr std::int32_t stopped = 2;  // no current device, stop flag raised, or port closed
inline constexpr std::int32_t unknown = 3;  // a message that is in neither table
inline constexpr std::int32_t failed = 4;   // the system reported a failure
}  // namespace receiving

// Reads one message and calls its handler. Header and payload each have the whole time-out. There is no
// resynchronisation: after a time-out within a frame the next bytes are taken as a header. Throws what a
// handler throws.
std::int32_t ble_receive_message(std::uint32_t timeoutMs);

// Writes one message to the current device's port; what the output hook points to while a link is in use.
// Drops it if there is no device or its stop flag is raised.
void ble_output(std::span<const std::uint8_t> fixed, std::span<const std::uint8_t> array);

// The record of a received header, its four bytes read as one little-endian word; null for one that is not in
// the tables.
const bgapi::MessageRecord* ble_find_handler(std::uint32_t header);
