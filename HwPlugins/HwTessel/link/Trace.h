// For a developer with a debugger at hand: no path of the library calls these.
#pragma once

#include <cstdint>
#include <span>

// Shows "TESL: [tick in hexadecimal] " and then the formatted text, cut after 127 characters.
[[gnu::format(printf, 1, 2)]] void ble_trace(const char* format, ...);

// Writes "%02X " for each byte, with a terminator, and returns the output's address. No bytes leave the
// output as it is; an output too short for all of them, at 3 characters each and the terminator, takes the
// first ones.
char* ble_hex_dump(std::span<const std::uint8_t> bytes, std::span<char> output);
