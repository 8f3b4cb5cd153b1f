#include "host/recording/RecordingParts.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <system_error>

#include "host/base/Failure.h"
#include "host/base/Text.h"

namespace {

constexpr std::size_t maxLabelLength = 64;

}  // namespace

void damagedRecording(const std::filesystem::path& path, const std::string& what, const std::string& advice)
{
  throw Failure(ExitCode::recording, fmt::format("{} {}", utf8(path), what), advice);
}

void emptyRecording(const std::filesystem::path& path)
{
  damagedRecording(path, "contains no records", "Record for longer, or wait until the gloves send.");
}

UnreadableFile::UnreadableFile(const std::filesystem::path& path, const std::string& what)
    : Failure(ExitCode::recording, fmt::format("{} {}", utf8(path), what), "Try again, and check the disk.")
{
}

std::ifstream openInput(const std::filesystem::path& path)
{
  if (!isThere(path)) damagedRecording(path, "does not exist");
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error) && !error) damagedRecording(path, "is not a file");
  std::ifstream file;
  do {
    errno = 0;
    file.open(path, std::ios::binary);
  } while (!file && errno == EINTR);
  if (file) return file;
  const std::string what = fmt::format("can't be opened: {}", std::generic_category().message(errno));
  if (errno == EACCES) damagedRecording(path, what, "Check the permissions.");
  throw UnreadableFile(path, what);
}

bool isThere(const std::filesystem::path& path)
{
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  using Type = std::filesystem::file_type;
  // One that may not be looked at can't be opened either, which is then the error.
  if (status.type() != Type::none) return status.type() != Type::not_found;
  if (error == std::errc::permission_denied) return true;
  throw UnreadableFile(path, fmt::format("can't be read: {}", error.message()));
}

void checkRead(const std::ifstream& file, const std::filesystem::path& path)
{
  if (file.bad()) throw UnreadableFile(path, "can't be read completely");
}

void addGroup(Layout& layout, const std::filesystem::path& path, const std::string& label)
{
  auto& groups = layout.groups;
  if (label.empty() || label.size() > maxLabelLength) {
    damagedRecording(path, fmt::format("has a group without a usable name: '{}'", excerpt(label)));
  }
  if (std::ranges::any_of(groups, [&](const auto& group) { return group.label == label; })) {
    damagedRecording(path, fmt::format("has the group '{}' twice", excerpt(label)));
  }
  if (groups.size() == maxGroups) {
    damagedRecording(path, fmt::format("has more than {} groups of elements", maxGroups));
  }
  groups.push_back({.label = label, .module = {}, .first = layout.elements, .count = 0});
}

bool isPlainLabel(const std::string& label)
{
  return std::ranges::all_of(label, [](char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_' || character == '-';
  });
}

bool isUsableTime(double ms)
{
  constexpr double limit = 1e12;  // 31 years
  return std::isnan(ms) || std::abs(ms) < limit;
}
