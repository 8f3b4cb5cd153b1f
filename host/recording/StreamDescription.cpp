#include "host/recording/StreamDescription.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "host/base/Version.h"
#include "host/recording/Names.h"

namespace {

using Json = nlohmann::ordered_json;

// Objects of a recording are less deep; it may have been changed by anyone.
constexpr int maxDepth = 8;

bool isNodeName(std::string_view name)
{
  const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  return !name.empty() && isLetter(name.front()) &&
         std::ranges::all_of(name, [&](char c) { return isLetter(c) || isDigit(c) || c == '_'; });
}

std::vector<DescriptionNode> membersOf(const Json& object, int depth)
{
  std::vector<DescriptionNode> nodes;
  if (!object.is_object() || depth == 0) return nodes;
  for (const auto& [name, value] : object.items()) {
    if (!isNodeName(name) || value.is_null() || value.is_array()) continue;
    if (value.is_object()) {
      nodes.push_back({.name = name, .children = membersOf(value, depth - 1)});
    } else {
      nodes.push_back({.name = name,
                       .value = value.is_string()
                                    ? value.get<std::string>()
                                    : value.dump(-1, ' ', true, Json::error_handler_t::replace)});
    }
  }
  return nodes;
}

DescriptionNode channel(const std::string& label, const std::string& unit, const std::string& type)
{
  return {.name = "channel", .children = {{"label", label}, {"unit", unit}, {"type", type}}};
}

DescriptionNode location(const Position& position)
{
  const auto coordinate = [](const char* name, double mm) {
    return DescriptionNode{.name = name, .value = fmt::format("{}", mm)};
  };
  return {
      .name = "location",
      .children = {coordinate("X", position.x), coordinate("Y", position.y), coordinate("Z", position.z)}};
}

DescriptionNode elementChannels(const ElementGroup& group, const std::string& type)
{
  DescriptionNode channels{.name = "channels"};
  for (const std::string& name : elementNames(group)) {
    channels.children.push_back(channel(name, "counts", type));
  }
  for (const Region& region : group.hand.regions) {
    for (const std::size_t element : region.elements) {
      channels.children.at(element).children.push_back({"region", region.name});
    }
  }
  for (std::size_t element = 0; element < group.hand.positions.size(); ++element) {
    channels.children.at(element).children.push_back(location(group.hand.positions[element]));
  }
  return channels;
}

DescriptionNode acquisition(const RecordingMetadata::Glove& glove)
{
  DescriptionNode node{.name = "acquisition", .children = {{"model", "Tessel glove"}}};
  if (glove.serialNumber > 0) {
    node.children.push_back({"serial_number", fmt::format("{}", glove.serialNumber)});
  }
  if (!glove.module.empty()) node.children.push_back({"module", glove.module});
  if (auto firmware = nodesOf(glove.firmware); !firmware.empty()) {
    node.children.push_back({.name = "firmware", .children = std::move(firmware)});
  }
  return node;
}

void addOrigin(DescriptionNode& desc, const std::string& synchronization)
{
  desc.children.push_back({.name = "synchronization", .children = {{"method", synchronization}}});
  desc.children.push_back({"program", programVersion});
}

std::string sourceOf(const ElementGroup& group)
{
  return group.module.empty() ? group.label : group.module;
}

// Of a stream that belongs to all gloves.
std::string sourceOfAll(const RecordingMetadata& metadata, std::string_view stream)
{
  std::string id = "tessel";
  for (const ElementGroup& group : metadata.layout.groups) {
    if (group.isGlove()) id += '-' + sourceOf(group);
  }
  return fmt::format("{}-{}", id, stream);
}

}  // namespace

std::string elementStreamName(const ElementGroup& group)
{
  if (!group.isGlove()) return "Tessel auxiliary";
  return group.label.starts_with("glove") ? "Tessel " + group.label
                                          : fmt::format("Tessel {} glove", group.label);
}

std::vector<DescriptionNode> nodesOf(const Json& object)
{
  return membersOf(object, maxDepth);
}

StreamDescription elementStream(const ElementGroup& group, const RecordingMetadata& metadata,
                                const std::string& synchronization)
{
  StreamDescription stream{
      .name = elementStreamName(group),
      .type = group.isGlove() ? "Tactile" : "Auxiliary",
      .sourceId = group.isGlove() ? "tessel-" + sourceOf(group) : sourceOfAll(metadata, group.label),
      .channels = group.count,
      .desc = {.name = "desc"}};
  stream.desc.children.push_back(elementChannels(group, stream.type));
  const auto glove = std::ranges::find(metadata.gloves, group.label, &RecordingMetadata::Glove::label);
  if (glove != metadata.gloves.end()) stream.desc.children.push_back(acquisition(*glove));
  addOrigin(stream.desc, synchronization);
  return stream;
}

StreamDescription timingStream(const RecordingMetadata& metadata, const std::string& synchronization)
{
  const std::string type = "Timing";
  DescriptionNode channels{.name = "channels"};
  for (const auto column : {names::timeColumn, names::arrivalColumn, names::pluginColumn}) {
    channels.children.push_back(channel(std::string(column), "ms", type));
  }
  for (const ElementGroup& group : metadata.layout.groups) {
    if (!group.isGlove()) continue;
    const auto add = [&](std::string_view suffix, const std::string& unit) {
      channels.children.push_back(channel(group.label + std::string(suffix), unit, type));
    };
    add(names::frameSuffix, "frames");
    add(names::ticksSuffix, "0.1 ms");
    add(names::sampledSuffix, "ms");
  }
  StreamDescription stream{.name = timingStreamName,
                           .type = type,
                           .sourceId = sourceOfAll(metadata, "timing"),
                           .channels = channels.children.size(),
                           .desc = {.name = "desc"}};
  stream.desc.children.push_back(std::move(channels));
  addOrigin(stream.desc, synchronization);
  return stream;
}

StreamDescription eventStream(const RecordingMetadata& metadata, const std::string& synchronization)
{
  StreamDescription stream{.name = eventStreamName,
                           .type = "Markers",
                           .sourceId = sourceOfAll(metadata, "events"),
                           .channels = 1,
                           .desc = {.name = "desc"}};
  stream.desc.children.push_back({.name = "channels", .children = {channel("event", "text", stream.type)}});
  addOrigin(stream.desc, synchronization);
  return stream;
}
