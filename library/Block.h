// The caller's arrays for records. Threads: any.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/recording/Record.h"
#include "library/include/tessel.h"

namespace library {

// Whether the block is one, and large enough for records of this shape. Throws an Error.
void checkBlock(const tessel_block* block, std::size_t gloves, std::size_t elements);

// Copies a record into a row of the block, which must fit.
void copyRecord(const Record& record, tessel_block& block, std::uint32_t row);

}  // namespace library
