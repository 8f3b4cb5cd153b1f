#include "host/live/RegionMeans.h"

#include <numeric>

std::vector<Region> shownRegions(const ElementGroup& glove)
{
  if (glove.hand.isKnown()) return glove.hand.regions;
  Region all{.name = "all", .elements = std::vector<std::size_t>(glove.count)};
  std::iota(all.elements.begin(), all.elements.end(), std::size_t{0});
  return {all};
}

RegionMeans::RegionMeans(const Layout& layout)
{
  for (const ElementGroup& group : layout.groups) {
    if (!group.isGlove()) continue;
    for (const Region& region : shownRegions(group)) {
      for (const std::size_t element : region.elements)
        indices_.push_back(group.first + element);
      ends_.push_back(indices_.size());
    }
  }
  means_.resize(ends_.size());
}

std::span<const float> RegionMeans::of(std::span<const std::uint16_t> elements)
{
  std::size_t at = 0;
  for (std::size_t region = 0; region < ends_.size(); ++region) {
    const std::size_t size = ends_[region] - at;
    std::uint64_t sum = 0;
    for (; at < ends_[region]; ++at)
      sum += elements[indices_[at]];
    means_[region] = size == 0 ? 0.0F : static_cast<float>(sum) / static_cast<float>(size);
  }
  return means_;
}
