#include "host/capture/HeardDevices.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t maxNameLength = 32;

// The first complete local name that is a glove's; empty if there is none. A structure that exceeds the data
// ends with it, as for the plug-in.
std::string gloveNameIn(std::span<const std::uint8_t> data)
{
  constexpr std::uint8_t completeLocalName = 9;
  constexpr std::array<std::string_view, 3> prefixes{"KVXGL", "KVXGR", "KVXSS"};
  while (data.size() > 1) {
    const auto structure = data.subspan(1, std::min<std::size_t>(data[0], data.size() - 1));
    data = data.subspan(1 + structure.size());
    if (structure.empty() || structure[0] != completeLocalName) continue;
    const std::string name(structure.begin() + 1, structure.end());
    const auto begins = [&name](std::string_view prefix) { return name.starts_with(prefix); };
    if (std::ranges::any_of(prefixes, begins)) return name.substr(0, maxNameLength);
  }
  return {};
}

}  // namespace

void HeardDevices::add(const Advertisement& advertisement)
{
  const auto& address = advertisement.address;
  if (const auto known = gloveAt_.find(address); known != gloveAt_.end()) {
    int& strongest = gloves_[known->second].rssi;
    strongest = std::max(strongest, advertisement.rssi);
    return;
  }
  std::string name = gloveNameIn(advertisement.data);
  if (name.empty()) {
    if (others_.size() < maxOthers) others_.insert(address);
    return;
  }
  // A device may advertise without its name as well.
  others_.erase(address);
  if (gloves_.size() == maxGloves) return;
  gloveAt_.emplace(address, gloves_.size());
  gloves_.push_back({std::move(name), advertisement.rssi, address});
}

const HeardGlove* HeardDevices::glove(const Advertisement::Address& address) const
{
  const auto known = gloveAt_.find(address);
  return known == gloveAt_.end() ? nullptr : &gloves_[known->second];
}
