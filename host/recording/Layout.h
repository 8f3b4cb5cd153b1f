// What the elements of a record are: one contiguous group for each glove, and one for the rest; and where on
// the hand each element of a glove is, if that is known.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// In mm, seen on the palm with the fingers up: x to the right, y towards the fingertips, z out of the palm.
struct Position {
  double x = 0;
  double y = 0;
  double z = 0;

  friend bool operator==(const Position&, const Position&) = default;
};

struct Region {
  std::string name;                   // an ASCII letter, then letters, digits and '-'
  std::vector<std::size_t> elements;  // of the glove, from 0, in the order of the region

  friend bool operator==(const Region&, const Region&) = default;
};

struct Hand {
  std::vector<Region> regions;      // each element is in one of them; empty: unknown
  std::vector<Position> positions;  // by element; empty: unknown

  bool isKnown() const { return !regions.empty(); }
  friend bool operator==(const Hand&, const Hand&) = default;
};

struct ElementGroup {
  std::string label;   // "left", "right", "glove", "glove1" ...; "aux" for the rest
  std::string module;  // the glove's advertised name; empty for "aux", or if it is unknown
  std::size_t first = 0;
  std::size_t count = 0;
  Hand hand{};  // of a glove

  bool isGlove() const { return label != "aux"; }
};

struct Layout {
  std::size_t elements = 0;  // of a record
  std::vector<ElementGroup> groups;
};

// A unique name for each element of the group, in their order: "left_0", or where regions are known
// "left_thumb_03", whose number counts the elements of the region from 0.
std::vector<std::string> elementNames(const ElementGroup& group);
