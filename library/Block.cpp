#include "library/Block.h"

#include <algorithm>
#include <string>

#include "library/Boundary.h"

namespace library {

void checkBlock(const tessel_block* block, std::size_t gloves, std::size_t elements)
{
  if (block == nullptr) throw nullArgument("`block`");
  checkSize(block->size, sizeof(tessel_block));
  if (block->capacity == 0) {
    throw Error(TESSEL_ERROR_ARGUMENT, "the block's `capacity` is 0.",
                "Set it to the number of records for which its arrays have room.");
  }
  if (block->gloves < gloves || block->elements < elements) {
    throw Error(TESSEL_ERROR_TOO_SMALL,
                "a record has " + std::to_string(gloves) + " gloves and " + std::to_string(elements) +
                    " elements, but the block has room for " + std::to_string(block->gloves) + " and " +
                    std::to_string(block->elements) + '.',
                "Ask for the shape, and set `gloves` and `elements` of the block to what its arrays have.");
  }
}

void copyRecord(const Record& record, tessel_block& block, std::uint32_t row)
{
  const auto set = [row](auto* array, auto value) {
    if (array != nullptr) array[row] = value;
  };
  set(block.timeMs, record.timeMs);
  set(block.arrivalMs, record.arrivalMs);
  set(block.pluginMs, record.pluginMs);

  const auto setOfGloves = [&](auto* array, auto GloveFrame::*member) {
    if (array != nullptr)
      std::ranges::transform(record.frames, array + std::size_t{row} * block.gloves, member);
  };
  setOfGloves(block.frame, &GloveFrame::number);
  setOfGloves(block.ticks, &GloveFrame::ticks);
  setOfGloves(block.sampledMs, &GloveFrame::sampledMs);

  if (block.sample != nullptr)
    std::ranges::copy(record.elements, block.sample + std::size_t{row} * block.elements);
}

}  // namespace library
