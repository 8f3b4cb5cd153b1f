// Names of the protocol's 16-bit result codes, for debugging.
#pragma once

#include <cstdint>

// "unknown" for a code without a name. Never null; valid while the library is loaded.
const char* ble_error_name(std::uint16_t code);
