// Messages to and from the current device's dongle.
//
// Threads: the thread that runs the link; a handler runs within the receive that read its message, and may
// send. Allocates nothing of its own but for the device's error list; a frame that a packet completes and a
// transfer that the system splits do.
#pragma once

#include <initializer_list>

#include "bgapi/Command.h"

enum class [[nodiscard]] ReceiveResult : std::int32_t{
    handled = 0,  // a message was read and its handler has run
    nothing = 1,  // a read delivered nothing in time
    stopped = 2,  // no current device, stop flag raised, or port closed
    unknown = 3,  // a message that is in neither table
    failed = 4,   // the system reported a failure
};

// Reads one message and calls its handler. Header and payload each have the whole time-out. There is no
// resynchronisation: after a time-out within a frame the next bytes are taken as a header. Throws what a
// handler throws.
ReceiveResult ble_receive_message(std::uint32_t timeoutMs);

// Encodes a command and hands it to the output hook.
void ble_send_message(const bgapi::MessageRecord& command, std::initializer_list<bgapi::Argument> arguments);

// Takes the header with the fixed parameters, and the array; both are the sender's and valid during the call.
using OutputHook = void (*)(std::span<const std::uint8_t> fixed, std::span<const std::uint8_t> array);

// Where messages go; null lets them vanish.
extern OutputHook ble_output_hook;

// Writes one message to the current device's port; what the output hook points to while a link is in use.
// Drops it if there is no device or its stop flag is raised.
void ble_output(std::span<const std::uint8_t> fixed, std::span<const std::uint8_t> array);

// The record of a received header, its four bytes read as one little-endian word; null for one that is not in
// the tables.
const bgapi::MessageRecord* ble_find_handler(std::uint32_t header);
