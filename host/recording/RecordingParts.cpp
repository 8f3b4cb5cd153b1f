#include "host/recording/RecordingParts.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <system_error>

#include "host/base/Failure.h"
#include "host/base/Text.h"

namespace {

constexpr std::size_t maxLabelLength = 64;

void noteBackwardSteps(Recording& recording, std::uint64_t steps)
{
  if (steps == 0) return;
  recording.notes.push_back(
      fmt::format("{} timestamp(s) step back; each is drawn at the time of the previous record", steps));
}

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
  groups.push_back({.label = label, .module = {}, .first = recording.elements, .count = 0});
}

bool isUsableTime(double ms)
{
  constexpr double limit = 1e12;  // 31 years
  return std::isnan(ms) || std::abs(ms) < limit;
}

void setTimes(Recording& recording, const std::vector<RowTime>& rows)
{
  recording.seconds.reserve(rows.size());
  std::uint64_t backwardSteps = 0;
  // The times of a recording begin near 0, those of a part of one anywhere.
  double beginMs = 0;
  double previousMs = 0;
  for (std::size_t row = 0; row < rows.size(); ++row) {
    const RowTime& now = rows[row];
    const RowTime& before = rows[row == 0 ? 0 : row - 1];
    const double sinceBefore = now.arrivalMs - before.arrivalMs;
    double ms = now.timeMs;
    if (std::isnan(ms)) {
      ms = previousMs + (std::isnan(sinceBefore) ? timestampStep(before.pluginMs, now.pluginMs).value_or(0)
                                                 : std::max(sinceBefore, 0.0));
    }
    if (row == 0) {
      beginMs = ms;
    } else if (ms < previousMs) {
      // Expected after a record of unknown time.
      if (!std::isnan(before.timeMs)) ++backwardSteps;
      ms = previousMs;
    }
    previousMs = ms;
    recording.seconds.push_back((ms - beginMs) / 1000);
    recording.gaps.add(static_cast<std::uint32_t>(std::llround(ms - beginMs)));
  }
  recording.zeroMs = beginMs;
  noteBackwardSteps(recording, backwardSteps);
}

void setTimestamps(Recording& recording, const std::vector<std::uint32_t>& timestamps)
{
  recording.seconds.reserve(timestamps.size());
  for (const std::uint32_t timestamp : timestamps) {
    recording.gaps.add(timestamp);
    recording.seconds.push_back(recording.gaps.seconds());
  }
  noteBackwardSteps(recording, recording.gaps.backwardSteps());
}
