// What the elements of a record are: groups of neighbours, one for each glove, and one for what no glove
// fills.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct ElementGroup {
  std::string label;   // "left", "right", "glove", "glove1" ...; "aux" for what no glove fills
  std::string module;  // the glove's advertised name; empty for "aux"
  std::size_t first = 0;
  std::size_t count = 0;

  bool isGlove() const { return label != "aux"; }
};

struct Layout {
  std::size_t elements = 0;  // of a record
  std::vector<ElementGroup> groups;
};
