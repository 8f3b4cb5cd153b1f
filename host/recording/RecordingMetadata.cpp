#include "host/recording/RecordingMetadata.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <ctime>

#include "host/base/System.h"
#include "host/base/Version.h"
#include "host/recording/Names.h"

namespace {

using Json = nlohmann::ordered_json;
using WallClock = std::chrono::system_clock;

std::chrono::minutes timeOfDay(const std::tm& time)
{
  using namespace std::chrono;
  const year_month_day day(year(time.tm_year + 1900), month(static_cast<unsigned>(time.tm_mon + 1)),
                           std::chrono::day(static_cast<unsigned>(time.tm_mday)));
  return sys_days(day).time_since_epoch() + hours(time.tm_hour) + minutes(time.tm_min);
}

// In ISO 8601, with microseconds.
constexpr const char* timeForm = "{:%Y-%m-%dT%H:%M:%S}.{:06}";

struct SplitTime {
  std::time_t second;
  std::chrono::microseconds::rep micros;
};

SplitTime splitTime(WallClock::time_point time)
{
  using namespace std::chrono;
  const auto second = floor<seconds>(time);
  return {WallClock::to_time_t(second), floor<microseconds>(time - second).count()};
}

// With the offset from UTC.
std::string localTime(const SplitTime& time)
{
  const std::tm local = fmt::localtime(time.second);
  const auto offset = (timeOfDay(local) - timeOfDay(fmt::gmtime(time.second))).count();
  return fmt::format(timeForm, local, time.micros) +
         fmt::format("{}{:02}:{:02}", offset < 0 ? '-' : '+', std::abs(offset) / 60, std::abs(offset) % 60);
}

template <class Value>
Json orNull(const std::optional<Value>& value)
{
  return value ? Json(*value) : Json();
}

Json orNull(const std::string& text)
{
  return text.empty() ? Json() : Json(text);
}

Json startJson(const RecordingMetadata& metadata)
{
  if (!metadata.started && metadata.startedLocal.empty()) return nullptr;
  Json json{{names::timeColumn, 0}, {"utc", Json()}, {"local", metadata.startedLocal}};
  if (metadata.started) {
    const SplitTime time = splitTime(*metadata.started);
    json["utc"] = fmt::format(timeForm, fmt::gmtime(time.second), time.micros) + 'Z';
    if (metadata.startedLocal.empty()) json["local"] = localTime(time);
  }
  json["monotonic_ns"] = metadata.zero ? Json(metadata.zero->count()) : Json();
  return json;
}

Json timeJson(const RecordingMetadata::Time& time)
{
  return {{"method", time.method},
          {"residualMs", orNull(time.residualMs)},
          {"clockErrorPpm", orNull(time.clockErrorPpm)},
          {"observedPhaseMs", orNull(time.observedPhaseMs)}};
}

Json gloveJson(const RecordingMetadata::Glove& glove)
{
  return {{"label", glove.label},
          {"module", glove.module},
          {"serialNumber", glove.serialNumber},
          {"firmware", glove.firmware},
          {"address", orNull(glove.address)},
          {"disconnectedSeconds", orNull(glove.disconnectedSeconds)}};
}

Json timeOrNull(double timeMs)
{
  return std::isnan(timeMs) ? Json() : Json(timeMs);
}

}  // namespace

nlohmann::ordered_json reconnectionsJson(const std::vector<Reconnection>& reconnections)
{
  Json json = Json::array();
  for (const Reconnection& each : reconnections) {
    json.push_back({{"reason", each.reason},
                    {"lostMs", timeOrNull(each.lostMs)},
                    {"backMs", timeOrNull(each.backMs)},
                    {"attempts", each.attempts},
                    {"modules", each.modules}});
  }
  return json;
}

nlohmann::ordered_json metadataJson(const RecordingMetadata& metadata, std::uint64_t events, bool isComplete)
{
  Json json{{"format", names::format}, {"version", 3}};
  json["program"] = metadata.program.empty() ? programVersion : metadata.program;
  if (!metadata.converted.is_null()) json["converted"] = metadata.converted;
  json["complete"] = isComplete;
  json["ended"] = orNull(metadata.ended);
  json["started"] = startJson(metadata);
  json["records"] = metadata.records;
  json["recordsPerSecond"] = orNull(metadata.recordsPerSecond);
  json["events"] = events;
  json["time"] = timeJson(metadata.time);
  json["unit"] = "counts";
  json["elements"] = metadata.layout.elements;
  json["groups"] = Json::array();
  for (const ElementGroup& group : metadata.layout.groups) {
    json["groups"].push_back({{"label", group.label}, {"first", group.first}, {"count", group.count}});
  }
  json["columns"] = Json::array();
  for (const ElementGroup& group : metadata.layout.groups) {
    for (std::string& name : elementNames(group)) {
      json["columns"].push_back(std::move(name));
    }
  }
  json["layout"] = metadata.hands;
  json["gloves"] = Json::array();
  for (const RecordingMetadata::Glove& glove : metadata.gloves) {
    json["gloves"].push_back(gloveJson(glove));
  }
  json["reconnections"] = reconnectionsJson(metadata.reconnections);
  json["books"] = metadata.books;
  json["capture"] = orNull(metadata.capture);
  json["settings"] = metadata.settings;
  return json;
}

std::string metadataText(const RecordingMetadata& metadata, std::uint64_t events, bool isComplete)
{
  return metadataJson(metadata, events, isComplete).dump(2, ' ', true, Json::error_handler_t::replace) + '\n';
}

std::chrono::system_clock::time_point wallClockAt(std::chrono::nanoseconds uptime)
{
  const auto since = std::chrono::duration_cast<WallClock::duration>(host::uptime() - uptime);
  return WallClock::now() - since;
}
