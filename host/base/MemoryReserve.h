// Memory that the program keeps for its end. The destructor of JSON allocates, and ends the process if it
// can't. So an allocation that fails gets a part of the reserve and succeeds; the recording notices, and ends
// in order. Once the reserve is used up, allocations fail with std::bad_alloc.
// Of `tessel` only: in other programs the handler of `new` is theirs, and memory is never short here.
// Threads: any.
#pragma once

#include <cstddef>

namespace host {

// How many failed allocations it helps.
inline constexpr std::size_t memoryReserves = 4;

// Once, at the start of the program. Where there is no memory for it, the program goes on without it.
void reserveMemory();

// A part of the reserve was needed.
bool isMemoryShort();

}  // namespace host
