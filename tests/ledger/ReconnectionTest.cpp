// Recordings that lose their gloves or their dongle: what is reported, how they end, and that books, frames
// and times are exact over all connections.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>

#include "tests/ledger/VirtualSession.h"

namespace {

using Steps = std::vector<VirtualGloves::Step>;

struct Row {
  std::string name;
  SessionPlan plan;
  std::string events = "";  // each with its glove, or with a marker's text
  std::string ending = "as requested.";
  ExitCode code = ExitCode::done;
  std::string reason = "";          // of the first loss, or a part of it
  std::string attempt = "";         // part of the words of one that failed
  std::array<double, 2> away = {};  // seconds of the reconnection, from and to
};

void PrintTo(const Row& row, std::ostream* stream)
{
  *stream << row.name;
}

// The phase of this rate sweeps the connection interval, so that times are exact.
SessionPlan plan(Steps steps, std::optional<double> seconds = 60)
{
  SessionPlan plan{.setup = {"rate 39.7", "drift left 150", "drift right -100"}, .steps = std::move(steps)};
  plan.rules.limits.seconds = seconds;
  return plan;
}

SessionPlan with(SessionPlan plan, const std::function<void(SessionPlan&)>& change)
{
  change(plan);
  return plan;
}

const auto addStranger = [](SessionPlan& plan) { plan.stranger = VirtualGloves::glove("KVXGL00099", 9); };
const auto omitCapture = [](SessionPlan& plan) { plan.isCaptured = false; };
const auto acceptAny = [](SessionPlan& plan) { plan.acceptsAnyGlove = true; };
// The plug-in filters by no such number.
const auto useHighNumbers = [](SessionPlan& plan) {
  plan.gloves[0].name = "KVXGL70000";
  plan.gloves[1].name = "KVXGR70001";
};

// Losses of any length, of gloves and dongle in every way: LongReconnection.
const std::vector<Row> rows{
    {.name = "nothing", .plan = plan({})},
    {.name = "leaveAndComeBackInTime", .plan = plan({{20, "leave left"}, {23, "back left"}})},
    {.name = "oneGlove",
     .plan = plan({{20, "hide right"}, {20, "drop right"}, {40, "show right"}}),
     .events = "disconnected right, reconnected",
     .reason = "the connection to the right glove was lost.",
     .away = {20, 24}},
    {.name = "bothGlovesForTooLong",
     .plan = plan({{20, "leave both"}, {110, "back both"}}, 200),
     .events = "disconnected, gave up",
     .ending = "to open the gloves again",
     .code = ExitCode::silence,
     .reason = "the connections to both gloves were lost."},
    {.name = "anotherPort",
     .plan = plan({{20, "unplug"}, {25, "port COM12"}, {25, "plug"}}),
     .events = "disconnected, reconnected",
     .reason = "the dongle is gone.",
     .attempt = "No BLE USB dongle",
     .away = {5, 7}},
    {.name = "oneGloveOnlyForTooLong",
     .plan = plan({{20, "hide left"}, {20, "drop both"}}, 200),
     .events = "disconnected, gave up",
     .ending = "Expected: 2; detected: 1",
     .code = ExitCode::silence},
    {.name = "stranger",
     .plan = with(plan({{20, "hide left"}, {20, "drop left"}, {20, "show stranger"}, {40, "show left"}}),
                  addStranger),
     .events = "disconnected left, reconnected",
     .attempt = "Expected: 2; detected: 1",
     .away = {20, 24}},
    {.name = "strangerOfNoFilter",
     .plan = with(with(plan({{20, "hide left"},
                             {20, "drop left"},
                             {20, "show stranger"},
                             {40, "hide stranger"},
                             {40, "show left"}}),
                       addStranger),
                  useHighNumbers),
     .events = "disconnected left, reconnected",
     .attempt = "KVXGL00099 and KVXGR70001 answered instead of KVXGL70000 and KVXGR70001.",
     .away = {20, 24}},
    {.name = "strangerAccepted",
     .plan = with(with(plan({{20, "hide left"}, {20, "drop left"}, {20, "show stranger"}}), addStranger),
                  acceptAny),
     .events = "disconnected left, reconnected",
     .away = {1, 4}},
    {.name = "batteryChange",
     .plan = plan({{20, "leave left"}, {80, "restart left"}, {80, "back left"}}, 120),
     .events = "disconnected left, reconnected",
     .away = {60, 64}},
    {.name = "silentGlove",
     .plan = plan({{20, "silent left"}, {50, "back left"}}),
     .events = "disconnected, reconnected",
     .away = {30, 36}},
    {.name = "muteDongle",
     .plan = plan({{20, "mute on"}, {45, "mute off"}}),
     .events = "disconnected, reconnected",
     .away = {25, 36}},
    {.name = "openButNoRecords",
     .plan = plan({{20, "loss right 100"}, {20, "drop both"}, {50, "loss right 0"}}, 90),
     .events = "disconnected, reconnected",
     .away = {30, 33}},
    {.name = "openButNoRecordsForTooLong",
     .plan = plan({{20, "loss right 100"}, {20, "drop both"}}, 200),
     .events = "disconnected, gave up",
     .ending = "no complete frame arrived",
     .code = ExitCode::silence},
    {.name = "noRecordsAtFirst",
     .plan = with(plan({{30, "loss right 0"}}), [](auto& plan) { plan.setup.push_back("loss right 100"); }),
     .events = "disconnected, reconnected",
     .away = {0, 0}},
    // The first times of a connection wait for 0.2 s.
    {.name = "lostAgainAtOnce",
     .plan = plan({{20, "drop both"}, {23.75, "unplug"}, {24, "plug"}}),
     .events = "disconnected, reconnected, disconnected, reconnected",
     .away = {1, 5}},
    // They fill the queues, which are there still when the link is closed.
    {.name = "framesTooShortWhenLost",
     .plan = plan({{20, "packets left 13"}, {22, "drop right"}, {24, "packets left 14"}}),
     .events = "disconnected right, reconnected",
     .away = {3, 8}},
    {.name = "theOnlyGlove",
     .plan = with(plan({{20, "drop left"}}),
                  [](auto& plan) {
                    plan.gloves.pop_back();
                    plan.setup = {"rate 39.7"};
                  }),
     .events = "disconnected left, reconnected",
     .away = {0.5, 4}},
    {.name = "withoutACapture",
     .plan = with(plan({{20, "unplug"}, {40, "plug"}}), omitCapture),
     .events = "disconnected, reconnected",
     .away = {20, 22}},
    {.name = "withoutACaptureOneGlove",
     .plan = with(plan({{20, "hide left"}, {20, "drop left"}, {40, "show left"}}), omitCapture),
     .events = "disconnected, reconnected",
     .away = {20, 24}},
    // The glove's clock is known from before: what then waits in a queue does not pass for drift.
    {.name = "queueSoonAfterwards",
     .plan = plan({{90, "drop both"}, {107, "leave left"}, {114.5, "back left"}}, 160),
     .events = "disconnected, reconnected",
     .away = {1, 4}},
    {.name = "limitWhileAway",
     .plan = plan({{20, "unplug"}}, 30),
     .events = "disconnected",
     .ending = "as requested, while the gloves were away."},
    {.name = "stopWhileAway",
     .plan = plan({{20, "unplug"}, {30, "stop"}}, std::nullopt),
     .events = "disconnected",
     .ending = "as requested, while the gloves were away."},
    {.name = "stopWhileAwayBeforeTheLimit",
     .plan = plan({{20, "unplug"}, {30, "stop"}}),
     .events = "disconnected",
     .ending = "interrupted before the recording was complete, while the gloves were away.",
     .code = ExitCode::interrupted},
    {.name = "stopWhileOpening",
     .plan = plan({{20, "drop both"}, {22.5, "stop"}}),
     .events = "disconnected",
     .ending = "interrupted before the recording was complete, while the gloves were away.",
     .code = ExitCode::interrupted},
    {.name = "markersWhileAway",
     .plan = plan({{10, "marker 10"}, {20, "unplug"}, {25, "marker 25"}, {30, "plug"}, {40, "marker 40"}}),
     .events = "marker 10, disconnected, marker 25, reconnected, marker 40",
     .away = {10, 12}},
    {.name = "noReconnection",
     .plan = with(plan({{20, "unplug"}, {30, "plug"}}), [](auto& plan) { plan.rules.reconnectSeconds = 0; }),
     .ending = "the dongle is gone.",
     .code = ExitCode::silence},
};

class ReconnectionTest : public testing::TestWithParam<Row> {};

TEST_P(ReconnectionTest, KeepsExactBooksOnOneTimeAxis)
{
  const Row& row = GetParam();
  const SessionResult result = record(row.plan);
  EXPECT_EQ(result.differences, "");
  EXPECT_EQ(result.books.balanced(), true);
  EXPECT_GT(result.records, 700U);
  EXPECT_EQ(result.untimed, 0U);

  std::string events;
  for (const RecordingEvent& event : result.events) {
    const std::string& detail = event.event == "marker" ? event.detail : event.glove;
    events += (events.empty() ? "" : ", ") + event.event + (detail.empty() ? "" : " " + detail);
    if (event.event == "marker") {
      EXPECT_NEAR(event.timeMs / 1000, std::stod(detail), 0.2);
    }
    EXPECT_EQ(event.detail.find("nan"), std::string::npos) << event.detail;
  }
  EXPECT_EQ(events, row.events);
  EXPECT_NE(result.ending.words.find(row.ending), std::string::npos) << result.ending.words;
  EXPECT_EQ(result.ending.failure ? result.ending.failure->code() : ExitCode::done, row.code);
  if (!result.reconnections.empty()) {
    EXPECT_NE(result.reconnections[0].reason.find(row.reason), std::string::npos)
        << result.reconnections[0].reason;
  }
  std::string attempts;
  for (const std::string& attempt : result.attempts)
    attempts += attempt + "\n";
  EXPECT_NE(attempts.find(row.attempt), std::string::npos) << attempts;

  for (const Reconnection& each : result.reconnections) {
    if (std::isnan(each.lostMs) || std::isnan(each.backMs)) continue;
    EXPECT_GE(each.backMs - each.lostMs, 1000 * row.away[0]);
    EXPECT_LE(each.backMs - each.lostMs, 1000 * row.away[1]);
  }
  // With a capture at most the connection interval; without one the plug-in's timestamps, which settle first.
  const bool isCaptured = row.plan.isCaptured;
  for (const TimeError& error : result.timeErrors[0]) {
    EXPECT_LE(error.max, isCaptured ? 10 : 60);
    EXPECT_LE(error.after5s, isCaptured ? 1 : 3);
  }
  // The second glove sends on while the first one is being opened, so its interval is longer for a moment.
  for (const TimeError& error : result.timeErrors[1]) {
    EXPECT_LE(error.max, 25);
    EXPECT_LE(error.after5s, 1);
  }
}

INSTANTIATE_TEST_SUITE_P(All, ReconnectionTest, testing::ValuesIn(rows),
                         [](const auto& instance) { return instance.param.name; });

}  // namespace
