#include "host/recording/Layout.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

constexpr std::size_t minDigits = 2;

}  // namespace

std::vector<std::string> elementNames(const ElementGroup& group)
{
  std::vector<std::string> names(group.count);
  for (std::size_t element = 0; element < group.count; ++element) {
    names[element] = fmt::format("{}_{}", group.label, element);
  }
  for (const Region& region : group.hand.regions) {
    // As wide as the last one, so that names sort by number.
    const std::size_t digits = std::max(minDigits, fmt::format_int(region.elements.size() - 1).size());
    for (std::size_t number = 0; number < region.elements.size(); ++number) {
      names.at(region.elements[number]) =
          fmt::format("{}_{}_{:0{}}", group.label, region.name, number, digits);
    }
  }
  return names;
}
