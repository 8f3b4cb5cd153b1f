#include "host/base/OutputFile.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

#include "host/base/Failure.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"

namespace fs = std::filesystem;

namespace {

std::string adviceFor(int error)
{
  switch (error) {
    case ENOSPC:
      return "The disk is full: free some space, or use another disk.";
    case EACCES:
    case EPERM:
    case EROFS:
      return "Choose a location that you may write to.";
    case ENOENT:
      return "Its folder does not exist: create it, or choose another location.";
    case EPIPE:
      return "The program that was reading it has ended.";
    case ENXIO:
      return "It is a pipe that no program reads: start the reader first.";
    case EEXIST:
      return "Delete it, or choose another name.";
    case EFBIG:
      return "The file has reached the size limit of this system.";
    default:
      return "Choose another location.";
  }
}

}  // namespace

OutputFile::OutputFile(fs::path path, Existing existing) : path_(std::move(path))
{
  if (isStandardOutput(path_)) {
    file_.useStandardOutput();
    return;
  }
  using Content = host::UnbufferedFile::Content;
  const bool appends = existing == Existing::appended;
  errno = 0;
  if (!file_.open(path_, appends ? Content::appended : Content::replaced)) fail();
  if (!appends) return;
  // What fails later is cut off behind this size.
  std::error_code error;
  if (fs::is_regular_file(path_, error)) size_ = fs::file_size(path_, error);
  errno = error.value();
  if (error) fail();
}

void OutputFile::fail() const
{
  const int error = errno;
  throw Failure(ExitCode::output,
                fmt::format("{} can't be written: {}.", outputText(path_),
                            error == 0 ? "unknown error" : std::generic_category().message(error)),
                adviceFor(error));
}

void OutputFile::append(std::string_view piece)
{
  errno = 0;
  if (file_.write(piece)) {
    size_ += piece.size();
    return;
  }
  const int error = errno;
  if (!isStandardOutput(path_)) file_.cut(size_);
  errno = error;
  fail();
}

void OutputFile::store()
{
  storeAt(Disk::ofSystem(), path_);
}

void OutputFile::replaceBeginning(std::string_view bytes)
{
  errno = 0;
  if (!beginning_) beginning_.emplace(path_);
  if (!beginning_->write(bytes)) fail();
}

void OutputFile::close()
{
  errno = 0;
  if (isStandardOutput(path_)) return;
  beginning_.reset();
  if (!file_.close()) fail();
}

void replaceFile(const fs::path& path, std::string_view content, Disk& disk)
{
  const fs::path next = fs::path(path) += ".new";
  std::error_code error;
  // What a killed run left is a file. Anything else is somebody's, and a link might lead anywhere.
  if (fs::is_regular_file(fs::symlink_status(next, error))) fs::remove(next, error);
  error = host::createFile(next);
  if (error) {
    throw Failure(ExitCode::output, fmt::format("{} can't be created: {}.", utf8(next), error.message()),
                  adviceFor(error.value()));
  }
  try {
    OutputFile file(next);
    file.append(content);
    file.close();
    storeAt(disk, next);
  } catch (...) {
    fs::remove(next, error);
    throw;
  }
  fs::rename(next, path, error);
  if (error) {
    throw Failure(ExitCode::output,
                  fmt::format("{} can't be renamed to {}: {}.", utf8(next), utf8(path), error.message()),
                  "Choose another location.");
  }
  storeNameAt(disk, path);
}
