// Names of the protocol's 16-bit result codes, for people who debug.
#pragma once

#include <cstdint>

// "unknown" for a code that has no name. Never null; the text lasts as long as the library.
const char* ble_error_name(std::uint16_t code);
