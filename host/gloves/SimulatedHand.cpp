#include "host/gloves/SimulatedHand.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numbers>

#include "simulator/HandRegions.h"

namespace {

// In mm, of a left hand. The elements fill it row by row, from its base.
struct Patch {
  double x, y;  // of the middle of its base
  double width;
  double length;
  double angle;  // degrees from upwards, to the right
};

// In the order of regionsOfHand().
constexpr std::array<Patch, simulator::handRegions> patches{{{-1, 8, 74, 78, 0},
                                                             {-45, 34, 17, 62, -38},
                                                             {-28, 96, 16, 68, -7},
                                                             {-8, 100, 16, 78, -1},
                                                             {13, 97, 16, 71, 6},
                                                             {33, 87, 15, 56, 14}}};

// To 0.1 mm, and never -0.
double rounded(double mm)
{
  return std::round(mm * 10) / 10 + 0.0;
}

// A grid whose cells are about as wide as high, a row on each line; the last one may have fewer elements.
std::string positionsOn(const Patch& patch, std::size_t elements)
{
  const double ideal = std::sqrt(static_cast<double>(elements) * patch.width / patch.length);
  const std::size_t columns =
      std::clamp<std::size_t>(static_cast<std::size_t>(std::lround(ideal)), 1, elements);
  const std::size_t rows = (elements + columns - 1) / columns;
  const double angle = patch.angle * std::numbers::pi / 180;
  std::string text;
  for (std::size_t element = 0; element < elements; ++element) {
    const std::size_t row = element / columns;
    const std::size_t column = element % columns;
    const std::size_t inRow = std::min(columns, elements - row * columns);
    const double along = (static_cast<double>(row) + 0.5) / static_cast<double>(rows) * patch.length;
    const double across =
        ((static_cast<double>(column) + 0.5) / static_cast<double>(inRow) - 0.5) * patch.width;
    text += element == 0 ? "" : column == 0 ? ",\n         " : ", ";
    fmt::format_to(std::back_inserter(text), "[{}, {}]",
                   rounded(patch.x + across * std::cos(angle) + along * std::sin(angle)),
                   rounded(patch.y - across * std::sin(angle) + along * std::cos(angle)));
  }
  return text;
}

}  // namespace

std::string simulatedHand(std::size_t elements)
{
  std::string text = fmt::format(
      "{{\n  \"format\": \"tessel-layout\",\n  \"version\": 1,\n  \"name\": \"simulated hand\",\n"
      "  \"comment\": \"In mm, seen on the palm with the fingers up. The right hand is the mirror image.\",\n"
      "  \"elements\": {},\n  \"left\": {{\n    \"regions\": [",
      elements);
  const auto regions = simulator::regionsOfHand(elements);
  const char* separator = "\n";
  for (std::size_t number = 0; number < regions.size(); ++number) {
    const simulator::HandRegion& region = regions[number];
    if (region.count == 0) continue;
    fmt::format_to(std::back_inserter(text),
                   "{}      {{\"name\": \"{}\", \"elements\": [\"{}-{}\"], \"positions\": [\n         {}]}}",
                   separator, region.name, region.first, region.first + region.count - 1,
                   positionsOn(patches[number], region.count));
    separator = ",\n";
  }
  return text + "\n    ]\n  }\n}\n";
}
