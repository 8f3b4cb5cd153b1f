// A platform for measuring what stands above it: one dongle's port, COM7, that serves bytes from memory at
// once. Nothing waits, and what is written vanishes.
#pragma once

#include <cstdint>
#include <span>

// What the port delivers from here on; the caller's memory, which must last.
void serve(std::span<const std::uint8_t> bytes);
