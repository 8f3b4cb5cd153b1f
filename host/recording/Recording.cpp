#include "host/recording/Recording.h"

#include <fmt/core.h>

#include <system_error>

#include "host/base/Text.h"
#include "host/recording/CsvReader.h"
#include "host/recording/Names.h"
#include "host/recording/NpyReader.h"
#include "host/recording/RecordingEvents.h"
#include "host/recording/RecordingParts.h"

namespace fs = std::filesystem;

namespace {

// Records and events of an unfinished recording both have a name that ends in ".part".
fs::path eventsOf(fs::path records)
{
  constexpr const char* part = ".part";
  const bool grows = records.extension() == part;
  if (grows) records.replace_extension();
  fs::path events = companionOf(records, names::eventsSuffix);
  return grows ? events += part : events;
}

}  // namespace

Recording readRecording(const fs::path& path)
{
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) {
    Recording recording = readNpy(path);
    addEvents(recording, path / names::eventsFile);
    return recording;
  }
  if (fs::is_regular_file(status)) {
    if (path.extension() == ".npy")
      damagedRecording(path, "is only a part of a recording", "Use the folder that contains it.");
    Recording recording = readCsv(path);
    addEvents(recording, eventsOf(path));
    return recording;
  }
  if (fs::exists(status)) damagedRecording(path, "is neither a file nor a folder");
  if (status.type() != fs::file_type::not_found) {
    damagedRecording(path, fmt::format("can't be opened: {}", error.message()), "Check the permissions.");
  }
  fs::path growing = path;
  growing += ".part";
  const bool grows = fs::exists(growing, error);
  damagedRecording(
      path, "does not exist",
      grows ? fmt::format("{} does: it is still being recorded, or was interrupted.", utf8(growing))
            : "Check the name, or make a recording with `tessel record`.");
}
