// Samples of a hand that closes around something and opens again: the fingers one after the other, thumb and
// palm in proportion. The same seed yields the same samples.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/Glove.h"
#include "simulator/HandRegions.h"

namespace simulator {

enum class Hand { left, right };

// For GloveConfig::movement.
class Grasp {
 public:
  // Uses the current rate and packet count of the glove, which must outlive it.
  Grasp(const GloveConfig& glove, Hand hand, std::uint64_t seed);

  // In counts: a few hundred at rest, about 50,000 in the grip. Call it for frames in order.
  std::uint16_t operator()(std::size_t element, std::uint64_t frame);

 private:
  struct Element {
    std::size_t region;
    double weight;  // share of the region's pressure, 0 to 1
  };

  void layOut(std::size_t elements);
  void moveTo(std::uint64_t frame);

  const GloveConfig* glove_;
  Hand hand_;
  std::uint64_t seed_;
  std::vector<Element> elements_;
  std::array<double, handRegions> pressures_{};  // counts, of each region in this frame
  std::optional<std::uint64_t> frame_;
  double time_ = 0;  // of this frame, in seconds
};

}  // namespace simulator
