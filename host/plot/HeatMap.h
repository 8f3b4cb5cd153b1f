// One glove over time: a column for each step of the time axis, a row for each element, element 0 on top. Of
// all records in a column the highest sample counts, so that a short peak stays visible in a long recording.
#pragma once

#include <cstdint>
#include <vector>

#include "host/plot/ColourMap.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

struct HeatMap {
  static constexpr std::int32_t nothing = -1;

  std::size_t columns = 0;
  std::size_t rows = 0;
  std::vector<std::int32_t> counts;  // row after row; `nothing` in a column without a record
};

HeatMap makeHeatMap(const Recording& recording, const Recording::Group& group, const TimeAxis& axis);

// Three bytes for each pixel, row after row; a row of the map is `rowHeight` rows of pixels. All counts must
// lie in the range.
std::vector<std::uint8_t> paint(const HeatMap& map, CountRange range, std::size_t rowHeight);
