#include "host/recording/MetadataReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <type_traits>

#include "host/base/Failure.h"
#include "host/recording/HandLayout.h"
#include "host/recording/Names.h"
#include "host/recording/RecordingParts.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t maxSize = 1 << 22;
// Copying and writing JSON takes a level of the stack for each of its levels.
constexpr int maxDepth = 32;
constexpr std::size_t maxDateLength = 40;

Json parseJson(std::string_view text)
{
  bool isTooDeep = false;
  const auto isKept = [&isTooDeep](int depth, Json::parse_event_t, const Json&) {
    isTooDeep = isTooDeep || depth > maxDepth;
    return !isTooDeep;
  };
  Json json = Json::parse(text, isKept, false);
  return isTooDeep ? Json() : json;
}

// Null if it is missing.
const Json& member(const Json& object, std::string_view key)
{
  static const Json null;
  if (!object.is_object()) return null;
  const auto found = object.find(key);
  return found == object.end() ? null : *found;
}

const Json& objectOf(const Json& object, std::string_view key)
{
  static const Json null;
  const Json& value = member(object, key);
  return value.is_object() ? value : null;
}

const Json& listOf(const Json& object, std::string_view key)
{
  static const Json empty = Json::array();
  const Json& value = member(object, key);
  return value.is_array() ? value : empty;
}

std::string textOf(const Json& object, std::string_view key)
{
  const Json& value = member(object, key);
  return value.is_string() ? value.get<std::string>() : "";
}

template <class Number>
std::optional<Number> numberOf(const Json& object, std::string_view key)
{
  const Json& value = member(object, key);
  if constexpr (std::is_floating_point_v<Number>) {
    return value.is_number() ? std::optional(value.get<Number>()) : std::nullopt;
  } else {
    if (value.is_number_unsigned()) {
      const auto number = value.get<std::uint64_t>();
      return std::in_range<Number>(number) ? std::optional(static_cast<Number>(number)) : std::nullopt;
    }
    if (!value.is_number_integer()) return std::nullopt;
    const auto number = value.get<std::int64_t>();
    return std::in_range<Number>(number) ? std::optional(static_cast<Number>(number)) : std::nullopt;
  }
}

std::uint64_t requiredNumber(const Json& object, const char* key, const std::filesystem::path& path)
{
  const auto number = numberOf<std::uint64_t>(object, key);
  if (!number) damagedRecording(path, fmt::format("lacks the number '{}'", key));
  return *number;
}

// "2024-02-29T23:59:59.000042Z"
std::optional<std::chrono::system_clock::time_point> timePointOf(std::string_view text)
{
  using namespace std::chrono;
  constexpr std::string_view form = "dddd-dd-ddTdd:dd:dd.ddddddZ";
  const auto fits = [](char wanted, char is) {
    return wanted == 'd' ? std::isdigit(static_cast<unsigned char>(is)) != 0 : wanted == is;
  };
  if (!std::ranges::equal(form, text, fits)) return std::nullopt;
  const auto number = [text](std::size_t at, std::size_t digits) {
    int value = 0;
    std::from_chars(text.data() + at, text.data() + at + digits, value);
    return value;
  };
  const year_month_day date(year(number(0, 4)), month(static_cast<unsigned>(number(5, 2))),
                            day(static_cast<unsigned>(number(8, 2))));
  // Others leave the range of the clock on some systems.
  if (!date.ok() || date.year() < year(1970) || date.year() > year(2200)) return std::nullopt;
  return sys_days(date) + hours(number(11, 2)) + minutes(number(14, 2)) + seconds(number(17, 2)) +
         microseconds(number(20, 6));
}

void readStart(RecordingMetadata& metadata, const Json& started)
{
  metadata.startedLocal = started.is_string() ? started.get<std::string>() : textOf(started, "local");
  metadata.startedLocal.resize(std::min(metadata.startedLocal.size(), maxDateLength));
  metadata.started = timePointOf(textOf(started, "utc"));
  if (const auto zero = numberOf<std::int64_t>(started, "monotonic_ns")) {
    metadata.zero = std::chrono::nanoseconds(*zero);
  }
}

RecordingMetadata::Time timeOf(const Json& json)
{
  return {.method = textOf(json, "method"),
          .residualMs = numberOf<double>(json, "residualMs"),
          .clockErrorPpm = numberOf<double>(json, "clockErrorPpm"),
          .observedPhaseMs = numberOf<int>(json, "observedPhaseMs")};
}

RecordingMetadata::Glove gloveOf(const Json& json)
{
  return {.label = textOf(json, "label"),
          .module = textOf(json, "module"),
          .serialNumber = numberOf<int>(json, "serialNumber").value_or(0),
          .firmware = objectOf(json, "firmware"),
          .address = textOf(json, "address"),
          .disconnectedSeconds = numberOf<double>(json, "disconnectedSeconds")};
}

Reconnection reconnectionOf(const Json& json)
{
  Reconnection reconnection{.reason = textOf(json, "reason"),
                            .lostMs = numberOf<double>(json, "lostMs").value_or(Record::unknown),
                            .backMs = numberOf<double>(json, "backMs").value_or(Record::unknown),
                            .attempts = numberOf<unsigned>(json, "attempts").value_or(0)};
  for (const Json& module : listOf(json, "modules")) {
    if (module.is_string()) reconnection.modules.push_back(module.get<std::string>());
  }
  return reconnection;
}

void readGroups(Layout& layout, const Json& json, const std::filesystem::path& path)
{
  for (const Json& group : listOf(json, "groups")) {
    addGroup(layout, path, textOf(group, "label"));
    const std::uint64_t count = requiredNumber(group, "count", path);
    if (requiredNumber(group, "first", path) != layout.elements || count > maxElements - layout.elements) {
      damagedRecording(path,
                       fmt::format("must have contiguous groups of at most {} elements in all", maxElements));
    }
    layout.groups.back().count = static_cast<std::size_t>(count);
    layout.elements += static_cast<std::size_t>(count);
  }
}

void readModules(RecordingMetadata& metadata)
{
  for (const RecordingMetadata::Glove& glove : metadata.gloves) {
    const auto group = std::ranges::find(metadata.layout.groups, glove.label, &ElementGroup::label);
    if (group != metadata.layout.groups.end()) group->module = glove.module;
  }
}

void readHands(ReadMetadata& read, const Json& json)
{
  if (json.is_null()) return;
  try {
    HandLayout::parse(json, "in its metadata").describe(read.metadata.layout);
    read.metadata.hands = json;
  } catch (const Failure& failure) {
    read.notes.push_back(fmt::format("the regions of its elements are unknown: {}", failure.what()));
  }
}

}  // namespace

ReadMetadata readMetadata(std::string_view text, const std::filesystem::path& path)
{
  const Json json = parseJson(text);
  if (member(json, "format") != names::format) damagedRecording(path, "does not describe a recording");
  ReadMetadata read;
  read.version = numberOf<int>(json, "version").value_or(0);
  if (read.version < 1 || read.version > 3) {
    damagedRecording(path, "has another version than 1 to 3", "Use the version of `tessel` that wrote it.");
  }
  RecordingMetadata& metadata = read.metadata;
  readGroups(metadata.layout, json, path);
  const char* const recordsKey = read.version == 1 ? "frames" : "records";
  metadata.records = numberOf<std::uint64_t>(json, recordsKey).value_or(0);
  // Version 1 wrote it in the end.
  read.isComplete = read.version == 1 ? json.contains(recordsKey) : member(json, "complete") == Json(true);
  if (read.isComplete) read.records = requiredNumber(json, recordsKey, path);
  read.events = numberOf<std::uint64_t>(json, "events").value_or(0);

  metadata.program = textOf(json, "program");
  metadata.converted = objectOf(json, "converted");
  metadata.ended = textOf(json, "ended");
  readStart(metadata, member(json, "started"));
  metadata.recordsPerSecond = numberOf<double>(json, "recordsPerSecond");
  metadata.time = timeOf(member(json, "time"));
  for (const Json& glove : listOf(json, "gloves")) {
    metadata.gloves.push_back(gloveOf(glove));
  }
  readModules(metadata);
  readHands(read, member(json, "layout"));
  for (const Json& reconnection : listOf(json, "reconnections")) {
    metadata.reconnections.push_back(reconnectionOf(reconnection));
  }
  metadata.books = objectOf(json, "books");
  metadata.capture = textOf(json, "capture");
  if (const Json& settings = objectOf(json, "settings"); !settings.is_null()) metadata.settings = settings;
  return read;
}

ReadMetadata readMetadataFile(const std::filesystem::path& path)
{
  std::ifstream file = openInput(path);
  std::string text(maxSize, '\0');
  file.read(text.data(), maxSize);
  checkRead(file, path);
  text.resize(static_cast<std::size_t>(file.gcount()));
  return readMetadata(text, path);
}
