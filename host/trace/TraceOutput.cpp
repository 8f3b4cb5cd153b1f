#include "host/trace/TraceOutput.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "host/base/Console.h"

namespace {

double seconds(std::chrono::nanoseconds time)
{
  return std::chrono::duration<double>(time).count();
}

}  // namespace

bool TraceOutput::includes(const TraceMoment& moment) const
{
  const double time = seconds(moment.sinceStart);
  return time >= format_.from && time <= format_.to;
}

void TraceOutput::printLine(const TraceMoment& moment, const std::string& text,
                            std::optional<TraceTime::Time> previous)
{
  if (!includes(moment)) return;
  const std::string time =
      format_.showsWallClock ? wallText(moment.wall) : fmt::format("{:12.6f}", seconds(moment.sinceStart));
  const double difference =
      seconds(moment.sinceStart - previous.value_or(previous_.value_or(moment.sinceStart)));
  const std::size_t end = text.find_last_not_of(' ') + 1;  // of columns that are empty
  console::print("{} {:+10.6f} {}\n", time, difference, text.substr(0, end));
  previous_ = moment.sinceStart;
  ++printed_;
}

void TraceOutput::printObject(const TraceMoment& moment, const nlohmann::ordered_json& json)
{
  if (!includes(moment)) return;
  nlohmann::ordered_json line{{"t", seconds(moment.sinceStart)}};
  if (format_.showsWallClock) line["wall"] = wallText(moment.wall);
  line.update(json);
  console::printJsonLine(line);
  ++printed_;
}
