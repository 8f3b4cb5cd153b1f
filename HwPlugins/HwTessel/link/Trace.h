// For a developer with a debugger; the library itself never calls these.
#pragma once

#include <cstdint>
#include <span>

// Writes "TESL: [tick in hexadecimal] " and the formatted text, cut after 127 characters, as debug output.
[[gnu::format(printf, 1, 2)]] void ble_trace(const char* format, ...);

// Writes "%02X " for each byte and a terminator, and returns the output's address. Without bytes the output
// stays unchanged; an output that is too short for all of them, at 3 characters each plus the terminator,
// gets the first ones.
char* ble_hex_dump(std::span<const std::uint8_t> bytes, std::span<char> output);
