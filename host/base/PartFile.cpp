#include "host/base/PartFile.h"

#include <fmt/format.h>

#include "host/base/Failure.h"
#include "host/base/Text.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* chooseAnother = "Choose another name, or replace it with --force.";

// The target of symbolic links, without a trailing separator.
fs::path resolved(fs::path path)
{
  constexpr int maxLinks = 40;
  if (!path.has_filename()) path = path.parent_path();
  std::error_code error;
  for (int links = 0; links < maxLinks && fs::is_symlink(path, error); ++links) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return path;
}

// One of the program's own streams, which may be redirected to a file.
bool isOpenStream(const fs::path& path)
{
  return path.parent_path() == "/dev/fd" || path.parent_path() == "/proc/self/fd";
}

// Only a folder that holds nothing but a recording's files may be replaced.
bool isRecordingFolder(const fs::path& folder)
{
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    const fs::path name = entry->path().filename();
    if (name != "samples.npy" && name != "stamps.npy" && name != "meta.json") return false;
  }
  return !error;
}

}  // namespace

bool isStandardOutput(const fs::path& path)
{
  return path == standardOutput || path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

std::string outputText(const fs::path& path)
{
  return isStandardOutput(path) ? "standard output" : utf8(path);
}

PartFile::PartFile(const fs::path& wanted, Kind kind, bool replaces)
    : wanted_(wanted), growing_(wanted), kind_(kind), replaces_(replaces)
{
  if (isStandardOutput(wanted)) {
    wanted_ = growing_ = standardOutput;
    return;
  }
  std::error_code ignored;
  const bool isStream = isOpenStream(wanted) || fs::is_other(fs::status(wanted, ignored));
  if (isStream && kind == Kind::file) return;
  wanted_ = resolved(wanted);
  growing_ = fs::path(wanted_) += ".part";
  checkPlace(wanted_, replaces);
  if (fs::exists(growing_, ignored)) {
    if (!host::Lock(growing_).isHeld()) {
      throw Failure(ExitCode::output, fmt::format("another run of tessel is writing {}.", utf8(growing_)),
                    "Choose another name.");
    }
    if (!replaces) {
      throw Failure(ExitCode::output,
                    fmt::format("{} was left by a run that did not finish.", utf8(growing_)),
                    "`tessel plot` can draw it. Then rename it, or replace it with --force.");
    }
    checkPlace(growing_, replaces);
  }
  make();
}

PartFile::~PartFile()
{
  std::error_code ignored;
  if (!stays_ && hasPlace()) fs::remove_all(growing_, ignored);
}

void PartFile::checkPlace(const fs::path& path, bool replaces) const
{
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  if (!fs::exists(status)) return;
  if (fs::is_directory(status) != (kind_ == Kind::folder)) {
    throw Failure(
        ExitCode::output,
        fmt::format("{} already exists, as a {}.", utf8(path), kind_ == Kind::folder ? "file" : "folder"),
        "Choose another name.");
  }
  if (!replaces) {
    throw Failure(ExitCode::output, fmt::format("{} already exists.", utf8(path)), chooseAnother);
  }
  if (kind_ == Kind::folder && !isRecordingFolder(path)) {
    throw Failure(ExitCode::output, fmt::format("{} contains other files than a recording.", utf8(path)),
                  "Choose another name.");
  }
}

void PartFile::make()
{
  std::error_code error;
  if (kind_ == Kind::folder) {
    fs::create_directory(growing_, error);
  } else {
    error = host::createFile(growing_);
  }
  if (error) {
    const bool isPlaceMissing = error == std::errc::no_such_file_or_directory;
    throw Failure(ExitCode::output, fmt::format("{} can't be created: {}.", utf8(growing_), error.message()),
                  isPlaceMissing ? "Its folder does not exist: create it, or choose another location."
                                 : "Choose a location that you may write to.");
  }
  lock_.emplace(growing_);
}

void PartFile::settle()
{
  stays_ = true;
  if (!hasPlace()) return;
  std::error_code error;
  if (replaces_) {
    checkPlace(wanted_, true);
    if (kind_ == Kind::folder) fs::remove_all(wanted_, error);
    fs::rename(growing_, wanted_, error);
  } else {
    error = host::renameNew(growing_, wanted_);
  }
  if (error) {
    throw Failure(
        ExitCode::output,
        fmt::format("{} can't be renamed to {}: {}.", utf8(growing_), utf8(wanted_), error.message()),
        "It is complete. Rename it by hand.");
  }
}
