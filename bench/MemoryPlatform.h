// A platform for benchmarks of the layers above it: one dongle's port, COM7, that serves bytes from memory.
// It never waits and discards what is written.
#pragma once

#include <cstdint>
#include <span>

// Sets the bytes that the port returns next; the caller's memory must stay valid.
void serve(std::span<const std::uint8_t> bytes);
