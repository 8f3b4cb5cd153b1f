#include "host/recording/RegionChoice.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/Text.h"
#include "host/recording/HandLayoutContent.h"

namespace {

using Json = nlohmann::ordered_json;

std::vector<std::string_view> regionNames(const Layout& layout)
{
  std::vector<std::string_view> names;
  for (const ElementGroup& group : layout.groups) {
    for (const Region& region : group.hand.regions) {
      if (std::ranges::find(names, region.name) == names.end()) names.push_back(region.name);
    }
  }
  return names;
}

Json handJson(const Hand& hand)
{
  Json json{{"regions", Json::array()}};
  for (const Region& region : hand.regions) {
    Json each{{"name", region.name}, {"elements", region.elements}};
    if (!hand.positions.empty()) {
      each["positions"] = Json::array();
      for (const std::size_t element : region.elements) {
        const Position& position = hand.positions.at(element);
        each["positions"].push_back(Json::array({position.x, position.y, position.z}));
      }
    }
    json["regions"].push_back(std::move(each));
  }
  return json;
}

}  // namespace

RegionChoice::RegionChoice(const Layout& layout, const std::vector<std::string>& regions)
    : keepsAll_(regions.empty())
{
  if (keepsAll_) {
    layout_ = layout;
    return;
  }
  requireRegions(layout, "--regions");
  const auto known = regionNames(layout);
  for (const std::string& region : regions) {
    if (std::ranges::find(known, region) != known.end()) continue;
    throw Failure(ExitCode::usage, fmt::format("the recording has no region '{}'.", excerpt(region)),
                  fmt::format("Its regions are {}.", fmt::join(known, ", ")));
  }
  for (const ElementGroup& group : layout.groups) {
    if (group.isGlove()) addGroup(group, regions);
  }
  kept_.resize(indices_.size());
}

void RegionChoice::addGroup(const ElementGroup& group, const std::vector<std::string>& regions)
{
  constexpr std::size_t none = ~std::size_t{0};
  std::vector<std::size_t> newIndex(group.count, none);
  for (const Region& region : group.hand.regions) {
    if (std::ranges::find(regions, region.name) == regions.end()) continue;
    for (const std::size_t element : region.elements) {
      newIndex[element] = 0;
    }
  }
  ElementGroup kept{
      .label = group.label, .module = group.module, .first = layout_.elements, .count = 0, .hand = {}};
  for (std::size_t element = 0; element < group.count; ++element) {
    if (newIndex[element] == none) continue;
    newIndex[element] = kept.count++;
    indices_.push_back(group.first + element);
    if (!group.hand.positions.empty()) kept.hand.positions.push_back(group.hand.positions[element]);
  }
  if (kept.count == 0) {
    throw Failure(ExitCode::usage,
                  fmt::format("the glove '{}' has none of the regions {}.", excerpt(group.label),
                              fmt::join(regions, ", ")),
                  "Choose a region of each glove.");
  }
  for (const Region& region : group.hand.regions) {
    if (newIndex[region.elements.front()] == none) continue;
    Region& copy = kept.hand.regions.emplace_back(region);
    for (std::size_t& element : copy.elements) {
      element = newIndex[element];
    }
  }
  layout_.elements += kept.count;
  layout_.groups.push_back(std::move(kept));
}

std::span<const std::uint16_t> RegionChoice::keep(std::span<const std::uint16_t> elements)
{
  if (keepsAll_) return elements;
  for (std::size_t index = 0; index < indices_.size(); ++index) {
    kept_[index] = elements[indices_[index]];
  }
  return kept_;
}

void requireRegions(const Layout& layout, const std::string& what)
{
  bool hasGlove = false;
  for (const ElementGroup& group : layout.groups) {
    if (!group.isGlove()) continue;
    hasGlove = true;
    if (group.hand.isKnown()) continue;
    throw Failure(
        ExitCode::usage,
        fmt::format("{} needs to know which elements belong to which region, and the recording does not say.",
                    what),
        "Add --layout FILE with a layout of the gloves. `tessel record --layout FILE` keeps it in the "
        "recording.");
  }
  if (!hasGlove)
    throw Failure(ExitCode::usage, fmt::format("{} needs a glove, and the recording has none.", what),
                  "Choose a recording with elements other than 'aux'.");
}

nlohmann::ordered_json handLayoutJson(const Layout& layout)
{
  Json json{{"format", layoutFormat}, {"version", 1}};
  for (const ElementGroup& group : layout.groups) {
    if (!group.isGlove()) continue;
    if (!group.hand.isKnown()) return nullptr;
    // As HandLayout::describe() does.
    const char* const side = group.label == "right" ? "right" : "left";
    Json hand = handJson(group.hand);
    if (json.contains("elements") && json["elements"] != group.count) return nullptr;
    if (json.contains(side) && json[side] != hand) return nullptr;
    json["elements"] = group.count;
    json[side] = std::move(hand);
  }
  return json.contains("elements") ? json : nullptr;
}
