#include "host/base/PartFile.h"

#include <fmt/format.h>

#include <utility>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/OutputFile.h"
#include "host/base/RemoveAll.h"
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

// A file is only unlinked: to look for more in it would be one more operation that can fail.
std::error_code removed(const fs::path& path, PartFile::Kind kind)
{
  if (kind == PartFile::Kind::folder) return removeAll(path);
  std::error_code error;
  fs::remove(path, error);
  return error;
}

void checkExisting(const fs::path& path, PartFile::Kind kind, bool replaces, PartFile::Test isReplaceable)
{
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  const bool isFolder = kind == PartFile::Kind::folder;
  if (!fs::exists(status)) return;
  if (fs::is_directory(status) != isFolder) {
    throw Failure(ExitCode::output,
                  fmt::format("{} already exists, as a {}.", utf8(path), isFolder ? "file" : "folder"),
                  "Choose another name.");
  }
  // Of the program's own there are no others.
  if (!isFolder && !fs::is_regular_file(status)) {
    throw Failure(ExitCode::output, fmt::format("{} already exists, as a pipe or a device.", utf8(path)),
                  "Choose another name.");
  }
  if (!replaces) {
    throw Failure(ExitCode::output, fmt::format("{} already exists.", utf8(path)), chooseAnother);
  }
  if (isReplaceable != nullptr && !isReplaceable(path)) {
    throw Failure(ExitCode::output,
                  isFolder
                      ? fmt::format("{} contains other files than a recording.", utf8(path))
                      : fmt::format("{} already exists, and does not belong to a recording.", utf8(path)),
                  "Choose another name.");
  }
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

PartFile::Names PartFile::namesOf(const fs::path& wanted, Kind kind)
{
  if (isStandardOutput(wanted)) return {standardOutput, standardOutput};
  std::error_code ignored;
  const bool isStream = isOpenStream(wanted) || fs::is_other(fs::status(wanted, ignored));
  if (isStream && kind == Kind::file) return {wanted, wanted};
  const fs::path place = resolved(wanted);
  return {place, fs::path(place) += ".part"};
}

void PartFile::check(const fs::path& wanted, Kind kind, bool replaces, Test isReplaceable)
{
  const auto [place, growing] = namesOf(wanted, kind);
  if (place == growing) return;
  checkExisting(place, kind, replaces, isReplaceable);
  std::error_code ignored;
  const fs::file_status status = fs::symlink_status(growing, ignored);
  if (!fs::exists(status)) return;
  if (fs::is_symlink(status)) {
    // The link is deleted, and never followed.
    if (replaces) return;
    throw Failure(ExitCode::output, fmt::format("{} already exists, as a symbolic link.", utf8(growing)),
                  chooseAnother);
  }
  if (fs::is_other(status)) checkExisting(growing, kind, replaces, isReplaceable);
  if (!host::Lock(growing).isHeld()) {
    throw Failure(ExitCode::output, fmt::format("another run of tessel is writing {}.", utf8(growing)),
                  "Choose another name.");
  }
  if (!replaces) {
    throw Failure(ExitCode::output, fmt::format("{} was left by a run that did not finish.", utf8(growing)),
                  "`tessel plot` can draw a recording. Then rename it, or replace it with --force.");
  }
  checkExisting(growing, kind, replaces, isReplaceable);
}

PartFile::PartFile(const fs::path& wanted, Kind kind, bool replaces, Test isReplaceable, Disk& disk)
    : kind_(kind), replaces_(replaces), isReplaceable_(isReplaceable), disk_(disk)
{
  check(wanted, kind, replaces, isReplaceable);
  Names names = namesOf(wanted, kind);
  wanted_ = std::move(names.wanted);
  growing_ = std::move(names.growing);
  if (hasPlace()) make();
}

PartFile::~PartFile()
{
  if (stays_ || !hasPlace()) return;
  const std::error_code error = removed(growing_, kind_);
  if (error)
    console::notice(
        fmt::format("{} can't be deleted: {}. Delete it by hand.", utf8(growing_), error.message()));
}

void PartFile::checkWanted() const
{
  if (hasPlace()) checkExisting(wanted_, kind_, replaces_, isReplaceable_);
}

void PartFile::make()
{
  std::error_code error;
  if (replaces_) removed(growing_, kind_);  // if it fails, so does what follows
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

void PartFile::replaceContent(std::string_view content, Disk& disk)
{
  lock_.reset();  // it is of the old file
  replaceFile(growing_, content, disk);
  lock_.emplace(growing_);
}

void PartFile::store() const
{
  if (!hasPlace()) return;
  if (kind_ == Kind::folder) {
    std::error_code error;
    for (const fs::path& name : host::namesIn(growing_, error)) {
      storeAt(disk_, growing_ / name);
    }
    if (error) throw notStored(growing_, error);
  }
  storeAt(disk_, growing_);
}

void PartFile::settle()
{
  store();
  stays_ = true;
  if (!hasPlace()) return;
  std::error_code error;
  if (replaces_) {
    checkWanted();
    if (kind_ == Kind::folder) error = removed(wanted_, kind_);
    if (!error) fs::rename(growing_, wanted_, error);
  } else {
    error = host::renameNew(growing_, wanted_);
  }
  if (error) {
    throw Failure(
        ExitCode::output,
        fmt::format("{} can't be renamed to {}: {}.", utf8(growing_), utf8(wanted_), error.message()),
        "It is complete. Rename it by hand.");
  }
  storeNameAt(disk_, wanted_);
}
