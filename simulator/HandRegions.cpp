#include "simulator/HandRegions.h"

namespace simulator {

namespace {

struct Share {
  std::string_view name;
  double share;  // of the glove's elements
};

constexpr std::array<Share, handRegions> shares{{{"palm", 0.28},
                                                 {"thumb", 0.144},
                                                 {"index", 0.144},
                                                 {"middle", 0.144},
                                                 {"ring", 0.144},
                                                 {"pinky", 0.144}}};

}  // namespace

std::array<HandRegion, handRegions> regionsOfHand(std::size_t elements)
{
  std::array<HandRegion, handRegions> regions;
  double end = 0;
  std::size_t next = 0;
  for (std::size_t number = 0; number < handRegions; ++number) {
    end += shares[number].share * static_cast<double>(elements);
    regions[number] = {shares[number].name, next, 0};
    const bool isLast = number + 1 == handRegions;
    for (; next < elements && (isLast || static_cast<double>(next) + 0.5 < end); ++next) {
      ++regions[number].count;
    }
  }
  return regions;
}

}  // namespace simulator
