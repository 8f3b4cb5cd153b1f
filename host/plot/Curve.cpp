#include "host/plot/Curve.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numeric>

Levels levelsOf(const Recording& recording, const ElementGroup& group, const TimeAxis& axis)
{
  Levels levels;
  for (std::size_t record = axis.firstRecord(); record < axis.endRecord(); ++record) {
    const auto samples = recording.samplesOf(record, group);
    const double sum = std::accumulate(samples.begin(), samples.end(), 0.0);
    levels.mean.push_back(sum / static_cast<double>(samples.size()));
    levels.highest.push_back(*std::ranges::max_element(samples));
  }
  return levels;
}

std::string curveOf(const std::vector<double>& values, const TimeAxis& axis, const Scale& scale)
{
  std::string path;
  const std::size_t offset = axis.firstRecord();
  const auto columnOf = [&](std::size_t index) { return std::floor(axis.position(offset + index)); };
  // Extends the last record before a gap for as long as it counts.
  const auto hold = [&](std::size_t record) {
    fmt::format_to(std::back_inserter(path), "H{:.1f}", scale.left + axis.endPosition(record));
  };
  std::size_t begin = 0;
  while (begin < values.size()) {
    std::size_t end = begin + 1;
    while (end < values.size() && columnOf(end) == columnOf(begin)) {
      ++end;
    }
    const auto at = [&](std::size_t index) { return values.begin() + static_cast<std::ptrdiff_t>(index); };
    const auto [lowest, highest] = std::minmax_element(at(begin), at(end));
    std::array points{begin, static_cast<std::size_t>(lowest - values.begin()),
                      static_cast<std::size_t>(highest - values.begin()), end - 1};
    std::ranges::sort(points);
    const auto last = std::unique(points.begin(), points.end());

    const bool isBroken =
        begin > 0 && axis.columnsOf(offset + begin - 1).end < axis.columnsOf(offset + begin).first;
    if (isBroken) hold(offset + begin - 1);
    const char* command = isBroken || begin == 0 ? "M" : "L";
    for (auto point = points.begin(); point != last; ++point) {
      fmt::format_to(std::back_inserter(path), "{}{:.1f} {:.1f}", command,
                     scale.left + axis.position(offset + *point), scale.zero - scale.unit * values[*point]);
      command = "L";
    }
    begin = end;
  }
  if (!values.empty()) hold(axis.endRecord() - 1);
  return path;
}
