// Which elements of a simulated glove are where on the hand.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace simulator {

inline constexpr std::size_t handRegions = 6;

struct HandRegion {
  std::string_view name;
  std::size_t first = 0;  // element
  std::size_t count = 0;  // 0 only of gloves with few elements
};

// Palm, thumb, index, middle, ring, pinky: in the order of elements, which are from the base of each to its
// tip.
std::array<HandRegion, handRegions> regionsOfHand(std::size_t elements);

}  // namespace simulator
