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

std::ifstream openInput(const std::filesystem::path& path)
{
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) damagedRecording(path, "does not exist");
  if (!std::filesystem::is_regular_file(status)) damagedRecording(path, "is not a file");
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    damagedRecording(path, fmt::format("can't be opened: {}", std::generic_category().message(errno)),
                     "Check the permissions.");
  }
  return file;
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
