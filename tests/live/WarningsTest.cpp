// What is said of each situation: the state of the left glove, and the warnings.
#include "host/live/Warnings.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

using namespace std::chrono_literals;
using Time = Situation::Time;

constexpr Time now = 100s;

struct Case {
  const char* name;
  std::function<void(Situation&)> change;
  const char* state = "connected";
  std::string warnings = "";  // "!" before an alarm
  std::optional<DiskFigures> disk = {};
};

void PrintTo(const Case& row, std::ostream* stream)
{
  *stream << row.name;
}

// Two gloves that are read, and nothing to complain of.
Situation wellBeing()
{
  Situation situation;
  situation.phase = Situation::Phase::reading;
  situation.connected = 50s;
  situation.read = now - 100ms;
  situation.captured = now - 200ms;
  situation.arrival = now - 50ms;
  situation.books = Books{.gloves = std::vector<GloveBooks>(2), .isFinal = false};
  for (const char* const label : {"left", "right"}) {
    GloveSituation& glove = situation.gloves.emplace_back();
    glove.label = label;
    glove.heard = now - 230ms;
    glove.battery = 0.25;
    for (Time time = 80s; time < now; time += 200ms) {
      const auto frames = static_cast<std::uint64_t>(time / 20ms);
      glove.sent.add(time, frames);
      glove.sentLong.add(time, frames);
      glove.lostLong.add(time, frames / 25);
    }
  }
  return situation;
}

void lose(Situation& situation)
{
  situation.phase = Situation::Phase::away;
  situation.isAway = true;
  situation.gloves[0].wasLost = true;
  situation.lost = now - 3s;
  situation.givenUp = now + 57s;
}

std::function<void(Situation&)> losing(std::uint64_t oneOf)
{
  return [oneOf](Situation& situation) {
    CountWindow& lost = situation.gloves[0].lostLong;
    lost.clear();
    for (Time time = 80s; time < now; time += 200ms)
      lost.add(time, static_cast<std::uint64_t>(time / 20ms) / oneOf);
  };
}

std::function<void(Situation&)> ending(ExitCode code)
{
  return [code](Situation& situation) {
    // The gloves were closed, and time has passed.
    situation.read = now - 60s;
    situation.captured = situation.arrival = now - 60s;
    for (GloveSituation& glove : situation.gloves) {
      glove.heard = now - 60s;
      glove.isOver = true;
      glove.battery = 0;
    }
    situation.phase = Situation::Phase::ended;
    situation.ending = {"the words.", code};
  };
}

DiskFigures disk(std::uint64_t freeBytes, double bytesPerSecond, Time answered = now)
{
  return {.bytes = 1, .freeBytes = freeBytes, .bytesPerSecond = bytesPerSecond, .answered = answered};
}

const Case cases[] = {
    {"Well", [](Situation&) {}},
    {"OneSilentWhileTheOtherSends", [](Situation& s) { s.gloves[0].heard = *s.captured - 1100ms; }, "silent",
     "!silent-left"},
    {"AllSilent", [](Situation& s) { s.captured = s.gloves[0].heard = s.gloves[1].heard = now - 1200ms; },
     "silent", "!silent-left !silent-right"},
    {"JustConnected", [](Situation& s) { s.connected = now - 900ms, s.gloves[0].heard.reset(); }},
    {"NotReadForAWhileIsNoSilence",
     [](Situation& s) {
       s.read = s.captured.emplace(s.gloves[0].heard.emplace(s.gloves[1].heard.emplace(now - 2s)));
     }},
    {"NotReadForLong", [](Situation& s) { s.read = s.captured.emplace(now - 4s); }, "connected", "!stall"},
    {"NoRecordsWithoutACapture", [](Situation& s) { s.captured.reset(), s.arrival = now - 1500ms; }, "silent",
     "!silent-left !silent-right"},
    {"WithoutACapture", [](Situation& s) { s.captured.reset(); }},
    {"ConnectionEnded", [](Situation& s) { s.gloves[0].isOver = true; }, "lost", "!lost-left"},
    {"Away", lose, "lost", "!lost-left !away"},
    {"AwayAndHeard", [](Situation& s) { lose(s), s.gloves[0].rssi = -50; }, "away", "!away"},
    {"AwayAndWithoutADongle",
     [](Situation& s) {
       lose(s), s.opening = {"no dongle.", true};
     },
     "lost", "!lost-left !away !opening"},
    {"AwayAndFaulty",
     [](Situation& s) {
       lose(s), s.gloves[0].faultySensors = 1,
                s.opening = {"Faulty sensor(s) on Left Glove: Thumb: Busy", false};
     },
     "lost", "!lost-left !away !sensor-left"},
    {"Opening",
     [](Situation& s) {
       s = {}, s.opening = {"Not enough remote BLE modules.", false};
     },
     "", "opening"},
    {"FaultySensor", [](Situation& s) { s.gloves[1].faultySensors = 2; }, "connected", "!sensor-right"},
    {"LowBattery", [](Situation& s) { s.gloves[0].battery = 0.125; }, "connected", "battery-left"},
    {"Losses", losing(15), "connected", "loss-left"},
    {"ManyLosses", losing(4), "connected", "!loss-left"},
    {"Stalled", [](Situation& s) { s.stalls = 1, s.stalled = now - 30s; }, "connected", "stall"},
    {"StalledLongAgo", [](Situation& s) { s.stalled = now - 31s; }},
    {"UnmatchedRecord", [](Situation& s) { s.books->unmatchedRecords = 1; }, "connected", "!books"},
    {"AmbiguousStretch", [](Situation& s) { s.books->gloves[1].ambiguous = 1; }, "connected", "!books"},
    {"FramesOnTheirWay", [](Situation& s) { s.books->gloves[1].sent = 7; }},
    {"DamagedCapture", [](Situation& s) { s.books->lostBlocks = 1; }, "connected", "books"},
    {"ManyHoursOfDisk", [](Situation&) {}, "connected", "", disk(1'000'000'000'000, 40e3)},
    {"HalfAnHourOfDisk", [](Situation&) {}, "connected", "disk", disk(1'800'000'000, 1e6)},
    {"FiveMinutesOfDisk", [](Situation&) {}, "connected", "!disk", disk(300'000'000, 1e6)},
    {"LittleDisk", [](Situation&) {}, "connected", "!disk", disk(199'000'000, 0)},
    {"DiskThatDoesNotAnswer", [](Situation&) {}, "connected", "disk",
     disk(1'000'000'000'000, 40e3, now - 6s)},
    {"NotStored", [](Situation& s) { s.notStored = "the disk did not store all of it."; }, "connected",
     "!stored"},
    {"Closing",
     [](Situation& s) {
       s.read = s.captured.emplace(s.gloves[0].heard.emplace(s.gloves[1].heard.emplace(now - 5s))),
       s.isClosing = true;
     }},
    {"Ended", ending(ExitCode::done), "connected", "", disk(0, 1e6)},
    {"EndedByAFailure", ending(ExitCode::output), "connected", "!ended"},
    {"Interrupted", ending(ExitCode::interrupted), "connected", "ended"},
    {"EndedUnbalanced",
     [](Situation& s) { ending(ExitCode::books)(s), s.books->isFinal = true, s.books->gloves[0].sent = 1; },
     "connected", "!ended !books"},
    {"EndedNotStored", [](Situation& s) { ending(ExitCode::output)(s), s.notStored = "it was not stored."; },
     "connected", "!ended"},
};

class SituationCase : public testing::TestWithParam<Case> {};

TEST_P(SituationCase, HasItsWarnings)
{
  Situation situation = wellBeing();
  GetParam().change(situation);
  std::string warnings;
  for (const Warning& warning : warningsOf(situation, GetParam().disk, now)) {
    warnings += std::string(warnings.empty() ? "" : " ") + (warning.isAlarm ? "!" : "") + warning.id;
    EXPECT_TRUE(warning.text.ends_with('.') || warning.id.starts_with("sensor")) << warning.text;
  }
  EXPECT_EQ(warnings, GetParam().warnings);
  if (situation.gloves.empty()) return;
  EXPECT_STREQ(nameOf(viewOf(situation, 0, now).state), GetParam().state);
}

INSTANTIATE_TEST_SUITE_P(Table, SituationCase, testing::ValuesIn(cases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(CountWindow, MeasuresTheLatestSeconds)
{
  CountWindow window(2s);
  EXPECT_EQ(window.perSecond(now), std::nullopt);
  // 50 a second, irregularly known, then 100.
  for (Time time = 0s; time <= 100s; time += time < 50s ? 210ms : 20ms)
    window.add(time, static_cast<std::uint64_t>(time < 90s ? time / 20ms : 4500 + (time - 90s) / 10ms));
  EXPECT_NEAR(window.perSecond(100s).value(), 100, 3);
  EXPECT_NEAR(window.perSecond(100500ms).value(), 100, 3) << "only not known yet";
  EXPECT_NEAR(window.perSecond(102s).value(), 30, 6);
  EXPECT_EQ(window.perSecond(103s), 0);
  // Back after a while, of which nothing is counted.
  window.add(110s, 5501);
  EXPECT_NEAR(window.perSecond(110s).value(), 1, 0.1);
  // Corrected downwards.
  window.add(110200ms, 5000);
  EXPECT_EQ(window.perSecond(110200ms), 0);
}

}  // namespace
