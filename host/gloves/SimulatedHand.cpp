#include "host/gloves/SimulatedHand.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>

#include "simulator/HandRegions.h"

namespace {

using Json = nlohmann::ordered_json;

// In mm, of a left hand. The elements fill it row by row, from its base.
struct Patch {
  double x, y;  // of the middle of its base
  double width;
  double length;
  double angle;  // degrees from upwards, to the right
};

constexpr std::array<Patch, simulator::handRegions> patches{{{-1, 8, 74, 78, 0},
                                                             {-45, 34, 17, 62, -38},
                                                             {-28, 96, 16, 68, -7},
                                                             {-8, 100, 16, 78, -1},
                                                             {13, 97, 16, 71, 6},
                                                             {33, 87, 15, 56, 14}}};

double rounded(double mm)
{
  return std::round(mm * 10) / 10;
}

// A grid whose cells are about as wide as high; the last row may have fewer, with more space.
Json positionsOn(const Patch& patch, std::size_t elements)
{
  const double ideal = std::sqrt(static_cast<double>(elements) * patch.width / patch.length);
  const std::size_t columns =
      std::clamp<std::size_t>(static_cast<std::size_t>(std::lround(ideal)), 1, elements);
  const std::size_t rows = (elements + columns - 1) / columns;
  const double angle = patch.angle * std::numbers::pi / 180;
  Json positions = Json::array();
  for (std::size_t element = 0; element < elements; ++element) {
    const std::size_t row = element / columns;
    const std::size_t inRow = std::min(columns, elements - row * columns);
    const double along = (static_cast<double>(row) + 0.5) / static_cast<double>(rows) * patch.length;
    const double across =
        ((static_cast<double>(element % columns) + 0.5) / static_cast<double>(inRow) - 0.5) * patch.width;
    positions.push_back({rounded(patch.x + across * std::cos(angle) + along * std::sin(angle)),
                         rounded(patch.y - across * std::sin(angle) + along * std::cos(angle))});
  }
  return positions;
}

}  // namespace

nlohmann::ordered_json simulatedHand(std::size_t elements)
{
  Json regions = Json::array();
  const auto all = simulator::regionsOfHand(elements);
  for (std::size_t number = 0; number < all.size(); ++number) {
    const simulator::HandRegion& region = all[number];
    if (region.count == 0) continue;
    const std::size_t last = region.first + region.count - 1;
    regions.push_back({{"name", region.name},
                       {"elements", Json::array({fmt::format("{}-{}", region.first, last)})},
                       {"positions", positionsOn(patches[number], region.count)}});
  }
  return {{"format", "tessel-layout"},
          {"version", 1},
          {"name", "simulated hand"},
          {"elements", elements},
          {"left", {{"regions", regions}}}};
}
