#include "host/plot/HeatMap.h"

#include <algorithm>

HeatMap makeHeatMap(const Recording& recording, const ElementGroup& glove,
                    std::span<const std::size_t> elements, const TimeAxis& axis)
{
  HeatMap map{axis.columns(), elements.size(), {}};
  map.counts.assign(map.columns * map.rows, HeatMap::nothing);
  for (std::size_t record = axis.firstRecord(); record < axis.endRecord(); ++record) {
    const ColumnSpan span = axis.columnsOf(record);
    const auto samples = recording.samplesOf(record, glove);
    for (std::size_t row = 0; row < map.rows; ++row) {
      for (std::size_t column = span.first; column < span.end; ++column) {
        std::int32_t& count = map.counts[row * map.columns + column];
        count = std::max<std::int32_t>(count, samples[elements[row]]);
      }
    }
  }
  return map;
}

std::vector<std::uint8_t> paint(const HeatMap& map, CountRange range, std::size_t rowHeight)
{
  const std::vector<Colour> colours = coloursOf(range);
  std::vector<std::uint8_t> pixels;
  pixels.reserve(3 * map.counts.size() * rowHeight);
  for (std::size_t row = 0; row < map.rows * rowHeight; ++row) {
    const auto counts = std::span(map.counts).subspan(row / rowHeight * map.columns, map.columns);
    for (const std::int32_t count : counts) {
      const Colour& colour =
          count == HeatMap::nothing ? colourOfNothing : colours[static_cast<std::size_t>(count - range.low)];
      pixels.insert(pixels.end(), {colour.red, colour.green, colour.blue});
    }
  }
  return pixels;
}
