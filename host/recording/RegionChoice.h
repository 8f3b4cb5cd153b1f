// Which elements of a record are kept, by the names of their regions. Errors: a Failure with ExitCode::usage.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/recording/Layout.h"

class RegionChoice {
 public:
  // Of these regions, in the order of the record; all elements if there are none. Every glove must have one
  // of the regions.
  RegionChoice(const Layout& layout, const std::vector<std::string>& regions);

  // Of what is kept.
  const Layout& layout() const { return layout_; }
  // Valid until the next call, and as long as the elements.
  std::span<const std::uint16_t> keep(std::span<const std::uint16_t> elements);

 private:
  void addGroup(const ElementGroup& group, const std::vector<std::string>& regions);

  Layout layout_;
  bool keepsAll_;
  std::vector<std::size_t> indices_;  // of what is kept
  std::vector<std::uint16_t> kept_;
};

// Fails, saying what needs it and how to get one, unless the regions of all gloves are known.
void requireRegions(const Layout& layout, const std::string& what);

// As HandLayout reads it; null if the regions are unknown, or if two gloves of a side differ.
nlohmann::ordered_json handLayoutJson(const Layout& layout);
