// Limits that writers and readers of recordings share.
#pragma once

#include <cstddef>

// In a record, auxiliary ones included: for who records as for who reads a recording. Far more than gloves
// have, and little enough to read and draw on any machine.
inline constexpr std::size_t maxElements = 4096;
