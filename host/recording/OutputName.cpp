#include "host/recording/OutputName.h"

#include <fmt/format.h>

#include "host/Failure.h"

namespace fs = std::filesystem;

namespace {

// Besides the recording's own files the folder may hold nothing that would be lost.
bool isRecordingFolder(const fs::path& folder)
{
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename().string();
    if (name != "samples.npy" && name != "stamps.npy" && name != "meta.json") return false;
  }
  return !error;
}

void checkReplaceable(const fs::path& path, bool isFolder, bool replaces)
{
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  if (!fs::exists(status)) return;
  if (isFolder ? !fs::is_directory(status) : fs::is_directory(status)) {
    throw Failure(ExitCode::output,
                  fmt::format("{} is there already, as a {}.", path.string(), isFolder ? "file" : "folder"),
                  "Choose another name with --output.");
  }
  if (!replaces) {
    const bool isPart = path.extension() == ".part";
    throw Failure(
        ExitCode::output, fmt::format("{} is there already.", path.string()),
        isPart ? "It is left of a recording that did not end. Look at it with `tessel plot`, then rename "
                 "it, or replace it with --force."
               : "Choose another name with --output, or replace it with --force.");
  }
  if (isFolder && !isRecordingFolder(path)) {
    throw Failure(ExitCode::output, fmt::format("{} holds more than a recording.", path.string()),
                  "Choose another name with --output.");
  }
}

}  // namespace

OutputName::OutputName(fs::path wanted, bool isFolder, bool replaces)
    : wanted_(std::move(wanted)), growing_(wanted_)
{
  std::error_code ignored;
  const fs::file_status status = fs::status(wanted_, ignored);
  const bool isDevice = fs::is_other(status);
  if (isDevice && !isFolder) return;
  growing_ += ".part";
  checkReplaceable(wanted_, isFolder, replaces);
  checkReplaceable(growing_, isFolder, replaces);
}

void OutputName::settle() const
{
  if (growing_ == wanted_) return;
  std::error_code error;
  if (fs::is_directory(growing_)) fs::remove_all(wanted_, error);
  fs::rename(growing_, wanted_, error);
  if (error) {
    throw Failure(
        ExitCode::output,
        fmt::format("{} can't get its name {}: {}.", growing_.string(), wanted_.string(), error.message()),
        "The recording is whole. Rename it by hand.");
  }
}

void OutputName::discard() const
{
  std::error_code ignored;
  if (growing_ != wanted_) fs::remove_all(growing_, ignored);
}
