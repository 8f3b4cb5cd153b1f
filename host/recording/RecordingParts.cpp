#include "host/recording/RecordingParts.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
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

std::ifstream openRecording(const std::filesystem::path& path)
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

void addGroup(Recording& recording, const std::filesystem::path& path, const std::string& label)
{
  auto& groups = recording.groups;
  if (label.empty() || label.size() > maxLabelLength) {
    damagedRecording(path, fmt::format("has a group without a usable name: '{}'", excerpt(label)));
  }
  if (std::ranges::any_of(groups, [&](const auto& group) { return group.label == label; })) {
    damagedRecording(path, fmt::format("has the group '{}' twice", excerpt(label)));
  }
  if (groups.size() == maxGroups) {
    damagedRecording(path, fmt::format("has more than {} groups of elements", maxGroups));
  }
  groups.push_back({label, recording.elements, 0});
}

void setTimestamps(Recording& recording, const std::vector<std::uint32_t>& timestamps)
{
  recording.seconds.reserve(timestamps.size());
  for (const std::uint32_t timestamp : timestamps) {
    recording.gaps.add(timestamp);
    recording.seconds.push_back(recording.gaps.seconds());
  }
  if (const auto steps = recording.gaps.backwardSteps(); steps > 0) {
    recording.notes.push_back(
        fmt::format("{} timestamp(s) step back; each is drawn at the time of the previous record", steps));
  }
}
