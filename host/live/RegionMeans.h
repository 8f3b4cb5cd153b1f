// The means of the regions of all gloves in a record; a glove without known regions is one region.
// Threads: one. Throws only std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/recording/Layout.h"

// The regions as the page shows them.
std::vector<Region> shownRegions(const ElementGroup& glove);

class RegionMeans {
 public:
  RegionMeans() = default;
  explicit RegionMeans(const Layout& layout);

  // In a record: glove by glove.
  std::size_t count() const { return ends_.size(); }
  // Valid until the next call.
  std::span<const float> of(std::span<const std::uint16_t> elements);

 private:
  std::vector<std::size_t> indices_;  // of the elements, region by region
  std::vector<std::size_t> ends_;     // of each region, among them
  std::vector<float> means_;
};
