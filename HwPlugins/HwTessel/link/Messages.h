// Messages to and from the current device's dongle.
//
// Threads: the thread that runs the link; a handler runs within the receive that read its message, and may
// send. Allocates only for the device's error list, a completed frame and a transfer that the operating
// system splits.
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

// Reads one message and calls its handler. Header and payload each have the whole timeout. There is no
// resynchronisation: after a timeout within a message the next bytes are taken as a header. Passes on what a
// handler throws.
ReceiveResult ble_receive_message(std::uint32_t timeoutMs);

// Encodes a command and hands it to the output hook.
void ble_send_message(const bgapi::MessageRecord& command, std::initializer_list<bgapi::Argument> arguments);

// Receives header and fixed parameters, and the array; both belong to the caller and are valid during the
// call.
using OutputHook = void (*)(std::span<const std::uint8_t> fixed, std::span<const std::uint8_t> array);

// Destination of messages; null discards them.
extern OutputHook ble_output_hook;

// Writes one message to the current device's port; the output hook while a link is in use. Discards it if
// there is no device or its stop flag is raised.
void ble_output(std::span<const std::uint8_t> fixed, std::span<const std::uint8_t> array);

// The record for a received header, whose four bytes are read as one little-endian word; null if it is in
// neither table.
const bgapi::MessageRecord* ble_find_handler(std::uint32_t header);
