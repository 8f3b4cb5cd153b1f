// Counts heap allocations of the whole program: operator new is replaced.
#pragma once

#include <cstdint>

// Allocations since program start.
std::uint64_t allocationCount();
