#include "host/recording/NpyReader.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>
#include <string_view>

#include "host/base/Text.h"
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
  if (!meta.is_object() || meta.value("format", Json()) != "tessel-recording") {
    damagedRecording(path, "does not describe a recording");
  }
  if (meta.value("version", Json()) != 1) {
    damagedRecording(path, "has another version than 1", "Use the version of `tessel` that wrote it.");
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

}  // namespace

Recording readNpy(const std::filesystem::path& folder)
{
  const std::filesystem::path metaPath = folder / "meta.json";
  const Json meta = readMeta(metaPath);
  Recording recording;
  readGroups(recording, meta, metaPath);
  const Json started = meta.value("started", Json());
  if (started.is_string()) recording.started = started.get<std::string>().substr(0, maxDateLength);

  NpyFile samples(folder / "samples.npy", {.type = "<u2", .typeSize = 2, .dimensions = 2});
  NpyFile timestamps(folder / "stamps.npy", {.type = "<u4", .typeSize = 4, .dimensions = 1});
  if (recording.elements == 0 || samples.columns() != recording.elements) {
    damagedRecording(folder,
                     fmt::format("is damaged: samples.npy has {} elements in a record, meta.json has {}",
                                 samples.columns(), recording.elements));
  }
  std::uint64_t records = std::min(samples.rowsInFile(), timestamps.rowsInFile());
  if (meta.contains("frames") && folder.extension() != ".part") {
    const std::size_t frames = sizeOf(meta, "frames", metaPath);
    for (const NpyFile* file : {&samples, &timestamps}) {
      if (file->rows() == frames && file->rowsInFile() == frames) continue;
      damagedRecording(
          file->path(),
          fmt::format(
              "is damaged: {} records according to its header, {} according to meta.json, {} in the file",
              file->rows(), frames, file->rowsInFile()));
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
  setTimestamps(recording, timestamps.read<std::uint32_t>(count));
  return recording;
}
