#include "host/plot/ColourMap.h"

#include <algorithm>
#include <cmath>

std::vector<Colour> coloursOf(CountRange range)
{
  const std::size_t steps = std::size_t{range.high} - range.low;
  std::vector<Colour> colours;
  colours.reserve(steps + 1);
  for (std::size_t step = 0; step <= steps; ++step) {
    const double place = static_cast<double>(step * (colourStops.size() - 1)) / static_cast<double>(steps);
    const std::size_t stop = std::min(static_cast<std::size_t>(place), colourStops.size() - 2);
    const Colour& below = colourStops[stop];
    const Colour& above = colourStops[stop + 1];
    const auto mix = [share = place - static_cast<double>(stop)](std::uint8_t from, std::uint8_t to) {
      return static_cast<std::uint8_t>(std::lround(from + share * (to - from)));
    };
    colours.push_back(
        {mix(below.red, above.red), mix(below.green, above.green), mix(below.blue, above.blue)});
  }
  return colours;
}
