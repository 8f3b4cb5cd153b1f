#include "host/capture/CaptureFile.h"

#include <fmt/format.h>

#include <fstream>
#include <string_view>

#include "host/base/Failure.h"

namespace fs = std::filesystem;

namespace {

bool isOtherFile(const fs::path& path)
{
  constexpr std::string_view beginning = "\n\r\r\n";  // of a pcapng section
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored) || fs::is_empty(path, ignored)) return false;
  std::string bytes(beginning.size(), '\0');
  std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes != beginning;
}

// A pipe whose reader is slow would hold the capture up, and no other file is to be spoiled.
const fs::path& usable(const fs::path& path)
{
  std::error_code ignored;
  if (fs::is_fifo(path, ignored) || fs::is_socket(path, ignored)) {
    throw Failure(ExitCode::output, fmt::format("{} is a pipe, but a capture needs a file.", path.string()),
                  "Choose another name.");
  }
  if (isOtherFile(path)) {
    throw Failure(ExitCode::output, fmt::format("{} already exists and is not a capture.", path.string()),
                  "Choose another name for the capture.");
  }
  return path;
}

// In a handler: why the file is given up.
std::string problemText() noexcept
{
  try {
    try {
      throw;
    } catch (const Failure& failure) {
      return fmt::format("{} It ends there; the recording goes on. {}", failure.what(), failure.advice());
    }
  } catch (const std::exception&) {
    return "out of memory.";  // short enough to need none
  }
}

}  // namespace

CaptureFile::CaptureFile(const fs::path& path, const SyncRules& sync)
    : file_(usable(path), OutputFile::Existing::appended), disk_(*sync.disk)
{
  lock_.emplace(path);
  if (!lock_->isHeld()) {
    throw Failure(ExitCode::output, fmt::format("{} is being written by another program.", path.string()),
                  "Choose another name for the capture.");
  }
  if (sync.interval.count() > 0)
    sync_.emplace(std::vector{path}, std::vector{fs::absolute(path).parent_path()}, sync);
}

void CaptureFile::append(std::span<const std::uint8_t> bytes) noexcept
{
  if (isGivenUp_) return;
  try {
    file_.append({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  } catch (const std::exception&) {
    isGivenUp_ = true;
    std::string problem = problemText();
    const std::lock_guard guard(mutex_);
    problem_.swap(problem);
  }
}

void CaptureFile::keepUp(std::chrono::nanoseconds now)
{
  if (sync_) sync_->keepUp(now);
}

void CaptureFile::store()
{
  try {
    if (sync_) sync_->end();
    if (const auto failure = sync_ ? sync_->failure() : std::nullopt) throw Failure(*failure);
    storeAt(disk_, file_.path());
    storeNameAt(disk_, file_.path());
  } catch (const Failure& failure) {
    if (problem().empty()) setProblem(fmt::format("{} {}", failure.what(), failure.advice()));
  }
}

void CaptureFile::setProblem(const std::string& problem)
{
  const std::lock_guard guard(mutex_);
  problem_ = problem;
}

std::string CaptureFile::problem() const
{
  const std::lock_guard guard(mutex_);
  return problem_;
}
