#include "host/gloves/SimulatedHand.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "host/recording/HandLayout.h"
#include "simulator/Grasp.h"

namespace {

HandLayout simulatedLayout(std::size_t elements)
{
  return HandLayout::parse(nlohmann::ordered_json::parse(simulatedHand(elements)), "simulated");
}

// If regions and simulated pressure disagreed, pictures of simulated gloves would show grips between fingers.
TEST(SimulatedHand, PressureIsHighestAtOnePlaceOfEachFinger)
{
  for (const int packets : {4, 14, 15}) {
    simulator::GloveConfig glove;
    glove.packetsPerFrame = static_cast<std::uint8_t>(packets);
    const HandLayout layout = simulatedLayout(glove.elements());
    simulator::Grasp grasp(glove, simulator::Hand::left, 1);
    grasp(0, 0);
    std::vector<int> counts;
    constexpr std::uint64_t closed = 60;  // after 1.5 s
    for (std::size_t element = 0; element < glove.elements(); ++element)
      counts.push_back(grasp(element, closed));
    ASSERT_EQ(layout.left().regions.size(), 6U);
    for (const Region& region : layout.left().regions) {
      const auto highest =
          std::ranges::max_element(region.elements, {}, [&](std::size_t element) { return counts[element]; });
      const double place = (static_cast<double>(highest - region.elements.begin()) + 0.5) /
                           static_cast<double>(region.elements.size());
      EXPECT_NEAR(place, 0.62, 0.51 / static_cast<double>(region.elements.size())) << region.name << packets;
    }
  }
}

TEST(SimulatedHand, IsAHandForAnyNumberOfElements)
{
  for (const std::size_t elements : {1U, 2U, 7U, 35U, 125U, 1000U, 4096U}) {
    const HandLayout layout = simulatedLayout(elements);
    EXPECT_EQ(layout.elements(), elements);
    std::vector<Position> positions = layout.left().positions;
    const auto before = [](const Position& a, const Position& b) {
      return a.x != b.x ? a.x < b.x : a.y < b.y;
    };
    std::ranges::sort(positions, before);
    EXPECT_EQ(std::ranges::adjacent_find(positions), positions.end()) << elements << ": two at one place";
    for (const Region& region : layout.left().regions) {
      const Position& base = layout.left().positions[region.elements.front()];
      const Position& tip = layout.left().positions[region.elements.back()];
      EXPECT_LE(base.y, tip.y) << region.name;
      EXPECT_TRUE(base.y > 0 && tip.y < 190) << region.name;
      EXPECT_EQ(tip.x < -45, region.name == "thumb") << "a left hand has it on the left";
    }
  }
}

}  // namespace
