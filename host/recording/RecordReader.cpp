#include "host/recording/RecordReader.h"

#include <fmt/core.h>

#include <system_error>

#include "host/base/Text.h"
#include "host/recording/CsvReader.h"
#include "host/recording/NpyReader.h"
#include "host/recording/RecordingParts.h"
#include "host/recording/XdfReader.h"

namespace fs = std::filesystem;

namespace {

[[noreturn]] void cannotOpen(const fs::path& path, const fs::file_status& status,
                             const std::error_code& reason)
{
  if (fs::exists(status)) damagedRecording(path, "is neither a file nor a folder");
  if (status.type() != fs::file_type::not_found) {
    damagedRecording(path, fmt::format("can't be opened: {}", reason.message()), "Check the permissions.");
  }
  fs::path growing = path;
  growing += ".part";
  std::error_code unknown;
  const bool grows = fs::exists(growing, unknown);
  damagedRecording(
      path, "does not exist",
      grows ? fmt::format("{} does: it is still being recorded, or was interrupted.", utf8(growing))
            : "Check the name, or make a recording with `tessel record`.");
}

}  // namespace

std::unique_ptr<RecordReader> openRecording(const fs::path& path)
{
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) return openNpy(path);
  if (!fs::is_regular_file(status)) cannotOpen(path, status, error);
  if (path.extension() == ".npy")
    damagedRecording(path, "is only a part of a recording", "Use the folder that contains it.");
  return isXdf(path) ? openXdf(path) : openCsv(path);
}
