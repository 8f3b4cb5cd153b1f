#include "host/live/ViewJson.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <cmath>
#include <iterator>
#include <nlohmann/json.hpp>

#include "host/base/Characters.h"
#include "host/base/Text.h"
#include "host/base/Version.h"
#include "host/live/RegionMeans.h"
#include "host/live/Warnings.h"
#include "host/plot/ColourMap.h"

namespace {

using Json = nlohmann::ordered_json;

std::string dumped(const Json& json)
{
  return json.dump();
}

Json number(std::optional<double> value, int decimals)
{
  if (!value || !std::isfinite(*value)) return nullptr;
  const double factor = std::pow(10, decimals);
  return std::round(*value * factor) / factor;
}

template <class Value>
Json orNull(const std::optional<Value>& value)
{
  return value ? Json(*value) : Json(nullptr);
}

Json fileJson(const LiveFacts& facts)
{
  return facts.file.empty() ? Json(nullptr) : Json(printable(utf8(facts.file)));
}

Json gloveLayoutJson(const ElementGroup& group)
{
  Json positions = Json::array();
  for (const Position& position : group.hand.positions)
    positions.push_back(Json::array({number(position.x, 3), number(position.y, 3)}));
  Json regions = Json::array();
  for (const Region& region : shownRegions(group))
    regions.push_back({{"name", printable(region.name)}, {"elements", region.elements}});
  return {{"label", printable(group.label)},
          {"module", printable(group.module)},
          {"count", group.count},
          {"hasPositions", !group.hand.positions.empty()},
          {"hasRegions", group.hand.isKnown()},
          {"positions", positions},
          {"regions", regions}};
}

const char* nameOf(Situation::Phase phase)
{
  switch (phase) {
    case Situation::Phase::opening:
      return "opening";
    case Situation::Phase::reading:
      return "reading";
    case Situation::Phase::away:
      return "away";
    case Situation::Phase::ended:
      return "ended";
  }
  return "";
}

Json gloveJson(const Situation& situation, std::size_t index, Situation::Time now)
{
  const GloveSituation& glove = situation.gloves[index];
  const GloveView view = viewOf(situation, index, now);
  Json json{{"label", printable(glove.label)},
            {"module", printable(glove.module)},
            {"state", nameOf(view.state)},
            {"text", printable(view.text)},
            {"battery", number(glove.battery, 3)},
            {"rssi", orNull(glove.rssi)},
            {"silentSeconds", number(view.silentSeconds, 2)},
            {"framesPerSecond", number(view.framesPerSecond, 1)}};
  const GloveBooks* const books =
      situation.books && index < situation.books->gloves.size() ? &situation.books->gloves[index] : nullptr;
  for (const char* const name : {"sent", "repeated", "recorded", "lost", "lostTotal", "lostShare"})
    json[name] = nullptr;
  if (books != nullptr) {
    json["sent"] = books->sent;
    json["repeated"] = books->repeated;
    json["recorded"] = books->recorded;
    json["lost"] = {{"unheard", books->lost.unheard},    {"radio", books->lost.radio},
                    {"refused", books->lost.refused},    {"faulty", books->lost.faulty},
                    {"pairing", books->lost.pairing},    {"queued", books->lost.queued},
                    {"discarded", books->lost.discarded}};
    json["lostTotal"] = books->lost.total();
    json["lostShare"] = number(books->lostShare(), 4);
  }
  json["lostShareNow"] = number(view.lostShare, 4);
  json["latencyMs"] = number(glove.latencyMs, 1);
  json["gaps"] = glove.gaps;
  json["longestGapMs"] = number(glove.longestGapMs, 1);
  json["sensorFaults"] = glove.faultySensors;
  return json;
}

Json recordingJson(const LiveFacts& facts, const std::optional<DiskFigures>& disk)
{
  if (facts.file.empty()) return nullptr;
  const DiskFigures figures = disk.value_or(DiskFigures{});
  return {{"file", fileJson(facts)},
          {"bytes", orNull(figures.bytes)},
          {"bytesPerSecond", number(figures.bytesPerSecond, 0)},
          {"freeBytes", orNull(figures.freeBytes)},
          {"secondsLeft", number(figures.secondsLeft(), 0)}};
}

Json eventsJson(const Situation& situation)
{
  Json events = Json::array();
  for (const SituationEvent& event : situation.events) {
    events.push_back({{"number", event.number},
                      {"ms", number(event.ms, 1)},
                      {"seconds", number(event.seconds, 3)},
                      {"event", printable(event.event)},
                      {"glove", printable(event.glove)},
                      {"detail", printable(event.detail)}});
  }
  return events;
}

Json reconnectionsJson(const Situation& situation, Situation::Time now)
{
  using Seconds = std::chrono::duration<double>;
  double away = situation.awaySeconds;
  std::optional<double> left;
  if (situation.phase == Situation::Phase::away) {
    away += Seconds(now - situation.lost).count();
    if (situation.givenUp) left = std::max(0.0, Seconds(*situation.givenUp - now).count());
  }
  return {{"count", situation.losses}, {"awaySeconds", number(away, 1)}, {"secondsLeft", number(left, 1)}};
}

// fmt can append to it without a copy.
using Text = fmt::memory_buffer;

void append(Text& text, std::string_view piece)
{
  text.append(piece.data(), piece.data() + piece.size());
}

// A list with commas.
template <class Append>
void appendList(Text& text, std::size_t size, const Append& appendItem)
{
  text.push_back('[');
  for (std::size_t item = 0; item < size; ++item) {
    if (item > 0) text.push_back(',');
    appendItem(item);
  }
  text.push_back(']');
}

void appendTenths(Text& text, double value)
{
  const auto tenths = static_cast<std::int64_t>(std::llround(value * 10));
  fmt::format_to(std::back_inserter(text), FMT_COMPILE("{}.{}"), tenths / 10, tenths % 10);
}

// A glove of the layout, and where its regions are among all.
struct ShownGlove {
  const ElementGroup& group;
  std::size_t firstRegion, regions;
};

std::vector<ShownGlove> shownGloves(const Layout& layout)
{
  std::vector<ShownGlove> gloves;
  std::size_t first = 0;
  for (const ElementGroup& group : layout.groups) {
    if (!group.isGlove()) continue;
    const std::size_t regions = group.hand.isKnown() ? group.hand.regions.size() : 1;
    gloves.push_back({group, first, regions});
    first += regions;
  }
  return gloves;
}

}  // namespace

std::string layoutJson(const LiveFacts& facts, const Situation& situation)
{
  const std::string_view version = programVersion;
  Json colours = Json::array();
  for (const Colour& colour : colourStops)
    colours.push_back(fmt::format("#{:02x}{:02x}{:02x}", colour.red, colour.green, colour.blue));
  Json gloves = Json::array();
  if (situation.layout) {
    for (const ElementGroup& group : situation.layout->groups) {
      if (group.isGlove()) gloves.push_back(gloveLayoutJson(group));
    }
  }
  return dumped({{"version", version.substr(version.rfind(' ') + 1)},
                 {"command", facts.command},
                 {"canMark", facts.canMark},
                 {"file", fileJson(facts)},
                 {"limitSeconds", number(facts.limits.seconds, 3)},
                 {"limitRecords", orNull(facts.limits.records)},
                 {"gloves", gloves},
                 {"colours", colours}});
}

std::string stateJson(const LiveFacts& facts, const Situation& situation,
                      const std::optional<DiskFigures>& disk, const ViewClock& clock, Situation::Time now)
{
  Json gloves = Json::array();
  for (std::size_t glove = 0; glove < situation.gloves.size(); ++glove)
    gloves.push_back(gloveJson(situation, glove, now));
  Json warnings = Json::array();
  for (const Warning& warning : warningsOf(situation, disk, now)) {
    warnings.push_back({{"id", printable(warning.id)},
                        {"level", warning.isAlarm ? "alarm" : "notice"},
                        {"text", printable(warning.text)}});
  }
  Json ending = nullptr;
  if (situation.ending) {
    ending = {{"text", printable(situation.ending->text)},
              {"exitCode", static_cast<int>(situation.ending->code)}};
  }
  const bool isReading = situation.phase == Situation::Phase::reading;
  const BooksView books = booksOf(situation);
  return dumped(
      {{"ms", number(clock.ms(now), 1)},
       {"phase", nameOf(situation.phase)},
       {"text", printable(situation.text)},
       {"ending", ending},
       {"seconds", number(situation.seconds, 2)},
       {"records", situation.records},
       {"recordsPerSecond", number(situation.recordsPerSecond, 1)},
       {"recordsPerSecondNow", number(isReading ? situation.arrivals.perSecond(now).value_or(0) : 0, 1)},
       {"reconnections", reconnectionsJson(situation, now)},
       {"stalls", {{"count", situation.stalls}, {"longestSeconds", number(situation.longestStall, 1)}}},
       {"gloves", gloves},
       {"books", {{"balanced", orNull(books.isBalanced)}, {"text", printable(books.text)}}},
       {"recording", recordingJson(facts, disk)},
       {"markers", situation.markers},
       {"warnings", warnings},
       {"events", eventsJson(situation)}});
}

std::string pictureJson(const Layout& layout, const PictureFacts& picture)
{
  Text text;
  fmt::format_to(std::back_inserter(text), FMT_COMPILE("{{\"record\":{},\"ms\":"), picture.record);
  appendTenths(text, picture.ms);
  append(text, ",\"gloves\":");
  const std::vector<ShownGlove> gloves = shownGloves(layout);
  appendList(text, gloves.size(), [&](std::size_t index) {
    const ShownGlove& glove = gloves[index];
    append(text, "{\"elements\":");
    appendList(text, glove.group.count, [&](std::size_t element) {
      fmt::format_to(std::back_inserter(text), FMT_COMPILE("{}"),
                     picture.elements[glove.group.first + element]);
    });
    append(text, ",\"regions\":");
    appendList(text, glove.regions,
               [&](std::size_t region) { appendTenths(text, picture.peaks[glove.firstRegion + region]); });
    text.push_back('}');
  });
  text.push_back('}');
  return fmt::to_string(text);
}

std::string historyJson(const Layout& layout, const LiveCurves& curves)
{
  Text text;
  append(text, "{\"ms\":");
  appendList(text, curves.size(), [&](std::size_t point) { appendTenths(text, curves.ms(point)); });
  append(text, ",\"gloves\":");
  const std::vector<ShownGlove> gloves = shownGloves(layout);
  appendList(text, gloves.size(), [&](std::size_t glove) {
    append(text, "{\"regions\":");
    appendList(text, gloves[glove].regions, [&](std::size_t region) {
      appendList(text, curves.size(), [&](std::size_t point) {
        appendTenths(text, curves.value(point, gloves[glove].firstRegion + region));
      });
    });
    text.push_back('}');
  });
  text.push_back('}');
  return fmt::to_string(text);
}
