// What the elements of a record are: groups of neighbours, one for each glove, and one for what no glove
// fills.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// In a record, auxiliary ones included: for who records as for who reads a recording. Far more than gloves
// have, and little enough to read and draw on any machine.
inline constexpr std::size_t maxElements = 4096;

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

// As the plug-in divides its records: `gloveElements` among the gloves evenly, the rest and `auxElements`
// behind them. `modules` are the names of the gloves found, in the order of the records.
Layout makeLayout(std::size_t gloveElements, std::size_t auxElements, bool isForOneGlove,
                  const std::vector<std::string>& modules);
