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

}  // namespace
