// The elements of a record: one contiguous group for each glove, and one for the rest.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct ElementGroup {
  std::string label;   // "left", "right", "glove", "glove1" ...; "aux" for the rest
  std::string module;  // the glove's advertised name; empty for "aux"
  std::size_t first = 0;
  std::size_t count = 0;

  bool isGlove() const { return label != "aux"; }
};

struct Layout {
  std::size_t elements = 0;  // of a record
  std::vector<ElementGroup> groups;
};
