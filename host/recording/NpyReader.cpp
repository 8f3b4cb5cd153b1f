#include "host/recording/NpyReader.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <deque>
#include <limits>
#include <optional>
#include <string_view>

#include "host/base/Text.h"
#include "host/recording/Names.h"
#include "host/recording/NpyFile.h"
#include "host/recording/RecordingParts.h"

namespace {

using Json = nlohmann::json;

constexpr std::size_t maxMetaSize = 1 << 20;
constexpr std::size_t maxDateLength = 40;

Json readMeta(const std::filesystem::path& path)
{
  std::ifstream file = openRecording(path);
  std::string text(maxMetaSize, '\0');
  file.read(text.data(), maxMetaSize);
  text.resize(static_cast<std::size_t>(file.gcount()));
  Json meta = Json::parse(text, nullptr, false);
  if (!meta.is_object() || meta.value("format", Json()) != names::format) {
    damagedRecording(path, "does not describe a recording");
  }
  const Json version = meta.value("version", Json());
  if (version != 1 && version != 2 && version != 3) {
    damagedRecording(path, "has another version than 1 to 3", "Use the version of `tessel` that wrote it.");
  }
  return meta;
}

std::size_t sizeOf(const Json& object, const char* key, const std::filesystem::path& path)
{
  const Json value = object.value(key, Json());
  if (!value.is_number_unsigned()) damagedRecording(path, fmt::format("lacks the number '{}'", key));
  return static_cast<std::size_t>(
      std::min<std::uint64_t>(value.get<std::uint64_t>(), std::numeric_limits<std::size_t>::max()));
}

void readGroups(Recording& recording, const Json& meta, const std::filesystem::path& path)
{
  for (const Json& group : meta.value("groups", Json::array())) {
    const Json label = group.is_object() ? group.value("label", Json()) : Json();
    addGroup(recording, path, label.is_string() ? label.get<std::string>() : "");
    const std::size_t count = sizeOf(group, "count", path);
    if (sizeOf(group, "first", path) != recording.elements || count > maxElements - recording.elements) {
      damagedRecording(path,
                       fmt::format("must have contiguous groups of at most {} elements in all", maxElements));
    }
    recording.groups.back().count = count;
    recording.elements += count;
  }
}

// Date and time, or nothing.
std::string startOf(const Json& meta)
{
  Json started = meta.value("started", Json());
  if (started.is_object()) started = started.value("local", Json());
  return started.is_string() ? started.get<std::string>().substr(0, maxDateLength) : "";
}

// The number of records of a recording that ended regularly.
std::optional<std::size_t> recordsOf(const Json& meta, const std::filesystem::path& path)
{
  if (meta.at("version") == 1) {
    return meta.contains("frames") ? std::optional(sizeOf(meta, "frames", path)) : std::nullopt;
  }
  return meta.value("complete", Json()) == true ? std::optional(sizeOf(meta, "records", path)) : std::nullopt;
}

void checkTimes(const std::vector<double>& times, const std::filesystem::path& path)
{
  const auto bad = std::ranges::find_if_not(times, isUsableTime);
  if (bad != times.end()) {
    damagedRecording(path,
                     fmt::format("is damaged: {} in row {} is not a time in ms", *bad, bad - times.begin()));
  }
}

}  // namespace

Recording readNpy(const std::filesystem::path& folder)
{
  const std::filesystem::path metaPath = folder / names::metadataFile;
  const Json meta = readMeta(metaPath);
  Recording recording;
  readGroups(recording, meta, metaPath);
  recording.started = startOf(meta);

  const bool hasTimes = meta.at("version") != 1;
  std::deque<NpyFile> files;
  const auto open = [&](std::string_view array, const NpyFile::Wanted& wanted) -> NpyFile& {
    return files.emplace_back(folder / names::arrayFile(array), wanted);
  };
  constexpr NpyFile::Wanted doubles{.type = "<f8", .typeSize = 8, .dimensions = 1};
  NpyFile& samples = open(names::samplesArray, {.type = "<u2", .typeSize = 2, .dimensions = 2});
  NpyFile& timestamps = open(names::pluginArray, {.type = "<u4", .typeSize = 4, .dimensions = 1});
  NpyFile* const time = hasTimes ? &open(names::timeArray, doubles) : nullptr;
  NpyFile* const arrival = hasTimes ? &open(names::arrivalArray, doubles) : nullptr;
  if (recording.elements == 0 || samples.columns() != recording.elements) {
    damagedRecording(folder,
                     fmt::format("is damaged: samples.npy has {} elements in a record, meta.json has {}",
                                 samples.columns(), recording.elements));
  }
  const std::uint64_t records = std::ranges::min_element(files, {}, &NpyFile::rowsInFile)->rowsInFile();
  const auto expected = recordsOf(meta, metaPath);
  if (expected && folder.extension() != ".part") {
    for (const NpyFile& file : files) {
      if (file.rows() == *expected && file.rowsInFile() == *expected) continue;
      damagedRecording(
          file.path(),
          fmt::format(
              "is damaged: {} records according to its header, {} according to meta.json, {} in the file",
              file.rows(), *expected, file.rowsInFile()));
    }
  } else {
    recording.notes.emplace_back("it was not completed; all records in its files are used");
  }
  if (records == 0)
    damagedRecording(folder, "contains no records", "Record for longer, or wait until the gloves send.");
  if (records > maxSamples / recording.elements) {
    damagedRecording(folder, fmt::format("is too large: more than {} samples", maxSamples));
  }
  const auto count = static_cast<std::size_t>(records);
  recording.samples = samples.read<std::uint16_t>(count * recording.elements);
  const auto pluginMs = timestamps.read<std::uint32_t>(count);
  if (!hasTimes) {
    setTimestamps(recording, pluginMs);
    return recording;
  }
  const auto timeMs = time->read<double>(count);
  const auto arrivalMs = arrival->read<double>(count);
  checkTimes(timeMs, time->path());
  checkTimes(arrivalMs, arrival->path());
  std::vector<RowTime> rows(count);
  for (std::size_t row = 0; row < count; ++row) {
    rows[row] = {timeMs[row], arrivalMs[row], pluginMs[row]};
  }
  setTimes(recording, rows);
  return recording;
}
