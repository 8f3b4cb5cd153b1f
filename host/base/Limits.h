// Limits that writers and readers of recordings share.
#pragma once

#include <cstddef>

// Elements of a record, auxiliary ones included. Far more than gloves have, and few enough to read and draw
// on any machine.
inline constexpr std::size_t maxElements = 4096;
