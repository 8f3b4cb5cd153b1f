#include "host/plot/Moments.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>

#include "host/base/Failure.h"
#include "host/base/Text.h"

namespace {

constexpr const char* momentAdvice =
    "Use times in seconds, or max for the moment of the highest mean: --at 2.5,4.0,max";

// Among the records whose beginning is on the axis.
std::size_t highestRecord(const Recording& recording, const TimeAxis& axis)
{
  std::size_t highest = axis.firstRecord();
  std::int64_t highestSum = -1;
  for (std::size_t record = axis.firstRecord(); record < axis.endRecord(); ++record) {
    const double seconds = recording.seconds[record];
    if (seconds < axis.from() || seconds >= axis.to()) continue;
    std::int64_t sum = 0;
    for (const ElementGroup& group : recording.groups) {
      const auto samples = recording.samplesOf(record, group);
      if (group.isGlove()) sum += std::accumulate(samples.begin(), samples.end(), std::int64_t{0});
    }
    if (sum <= highestSum) continue;
    highest = record;
    highestSum = sum;
  }
  return highest;
}

Moment momentAt(const Recording& recording, const TimeAxis& axis, double seconds)
{
  if (seconds < axis.from() || seconds > axis.to()) {
    throw Failure(ExitCode::usage, fmt::format("--at {:g} is not in the picture.", seconds),
                  fmt::format("It shows the time from {:g} s to {:g} s.", axis.from(), axis.to()));
  }
  const auto next = std::ranges::upper_bound(recording.seconds, seconds);
  const auto record =
      static_cast<std::size_t>(std::max<std::ptrdiff_t>(next - recording.seconds.begin() - 1, 0));
  constexpr double roundingError = 1e-6;
  if (axis.positionOf(seconds) > axis.endPosition(record) + roundingError) {
    throw Failure(ExitCode::usage, fmt::format("there is no record at --at {:g}.", seconds),
                  fmt::format("The one before is at {:.3f} s, the next one at {:.3f} s.",
                              recording.seconds[record], *next));
  }
  return {seconds, record, false};
}

}  // namespace

std::vector<WantedMoment> parseMoments(std::string_view text)
{
  std::vector<WantedMoment> moments;
  for (bool isLast = false; !isLast;) {
    const std::size_t comma = std::min(text.find(','), text.size());
    const std::string_view word = text.substr(0, comma);
    isLast = comma == text.size();
    text.remove_prefix(isLast ? comma : comma + 1);
    double seconds = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), seconds);
    const bool isTime = error == std::errc() && end == word.data() + word.size() && std::isfinite(seconds);
    if (!isTime && word != "max") {
      throw Failure(ExitCode::usage, fmt::format("--at does not accept '{}'.", excerpt(word)), momentAdvice);
    }
    moments.push_back(isTime ? WantedMoment(seconds) : std::nullopt);
  }
  if (moments.size() > maxMoments) {
    throw Failure(ExitCode::usage, fmt::format("--at has {} moments.", moments.size()),
                  fmt::format("Use at most {}.", maxMoments));
  }
  return moments;
}

std::vector<Moment> findMoments(const Recording& recording, const TimeAxis& axis,
                                const std::vector<WantedMoment>& wanted)
{
  std::vector<Moment> moments;
  for (const WantedMoment& moment : wanted) {
    if (moment) {
      moments.push_back(momentAt(recording, axis, *moment));
    } else {
      const std::size_t record = highestRecord(recording, axis);
      moments.push_back({recording.seconds[record], record, true});
    }
  }
  std::ranges::sort(moments, {}, &Moment::seconds);
  return moments;
}
