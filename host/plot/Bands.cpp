#include "host/plot/Bands.h"

#include <numeric>

std::vector<Region> bandsOf(const ElementGroup& glove)
{
  if (glove.hand.isKnown()) return glove.hand.regions;
  Region all{"", std::vector<std::size_t>(glove.count)};
  std::iota(all.elements.begin(), all.elements.end(), std::size_t{0});
  return {all};
}
