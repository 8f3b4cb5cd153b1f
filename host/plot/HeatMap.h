// Elements of a glove over time: a column for each step of the time axis, a row for each element. A cell is
// the highest sample of all records in its column, so that short peaks stay visible.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/plot/ColourMap.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

struct HeatMap {
  static constexpr std::int32_t nothing = -1;

  std::size_t columns = 0;
  std::size_t rows = 0;
  std::vector<std::int32_t> counts;  // row by row; `nothing` in a column without a record
};

// `elements` of the glove, the first one on top.
HeatMap makeHeatMap(const Recording& recording, const ElementGroup& glove,
                    std::span<const std::size_t> elements, const TimeAxis& axis);

// RGB pixels of three bytes, row by row; a row of the map is `rowHeight` rows of pixels. All counts must be
// in the range.
std::vector<std::uint8_t> paint(const HeatMap& map, CountRange range, std::size_t rowHeight);
