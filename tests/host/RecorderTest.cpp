#include "host/session/Recorder.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/support/FakeGloves.h"

namespace {

using namespace std::chrono_literals;
using Time = Recorder::Time;

// One recording of these gloves.
struct Session {
  explicit Session(const RecordingLimits& limits)
      : recorder(layout, keeper, limits, [this] { return gloves.now; })
  {
  }

  // What ended it: "limit", "stop", or the words of a failure.
  std::string run(Time stopAt = 1h)
  {
    try {
      return recorder.run(gloves, stop, [&](const RecordingFigures&) { stop = gloves.now >= stopAt; })
                 ? "limit"
                 : "stop";
    } catch (const Failure& failure) {
      return failure.what();
    }
  }

  FakeGloves gloves;
  Layout layout{.elements = 4, .groups = {{"left", "KVXGL00017", 0, 4}}};
  KeepingSink sink;
  std::atomic<bool> stop{false};
  RecordKeeper keeper{layout, sink, nullptr};
  Recorder recorder;
};

TEST(Recorder, EndsByLimitsStopRequestsAndFailures)
{
  const struct {
    const char* name;
    RecordingLimits limits;
    const char* ending;
    std::size_t records;
    std::function<void(Session&)> prepare = [](Session&) {};
    Time stopAt = 1h;
  } cases[] = {
      {"so many records", {{}, 7}, "limit", 7},
      {"so many seconds, from the first record on",
       {2.0, {}},
       "limit",
       81,
       [](Session& session) { session.gloves.silentUntil = 3s; }},
      {"a stop request", {{}, {}}, "stop", 80, [](Session&) {}, 2s},
      {"no record for ten seconds",
       {{}, {}},
       "no complete frame arrived, although the gloves are connected.",
       0,
       [](Session& session) { session.gloves.silentUntil = 1h; }},
      {"silence before the limit",
       {5.0, {}},
       "the gloves stopped sending: no frame arrived in the last 2.0 s.",
       119,
       [](Session& session) { session.gloves.silentFrom = 3s; }},
      {"a failure of the gloves",
       {{}, {}},
       "the dongle is gone.",
       40,
       [](Session& session) { session.gloves.failAt = 1s; }},
      {"a failure of the sink",
       {{}, {}},
       "the disk is full.",
       3,
       [](Session& session) { session.sink.capacity = 3; }},
  };
  for (const auto& [name, limits, ending, records, prepare, stopAt] : cases) {
    Session session(limits);
    prepare(session);
    EXPECT_EQ(session.run(stopAt), ending) << name;
    EXPECT_EQ(session.sink.records.size(), records) << name;
    EXPECT_EQ(session.recorder.figures().records, records) << name;
  }
}

TEST(Recorder, FiguresAreOfWhatWasWritten)
{
  Session session({{}, 40});
  EXPECT_EQ(session.run(), "limit");
  const RecordingFigures& figures = session.recorder.figures();
  EXPECT_EQ(figures.highest, std::vector<std::uint16_t>{1000});
  EXPECT_NEAR(figures.seconds, 39 * 0.025, 1e-9);
  EXPECT_EQ(figures.battery, 0.5);
  EXPECT_EQ(figures.gaps.count(), 0U);
}

TEST(Recorder, TimesBeginAtZeroAndNeverDecrease)
{
  Session session({{}, 40});
  session.gloves.jumpAt = 500ms;
  EXPECT_EQ(session.run(), "limit");
  const auto& records = session.sink.records;
  for (std::size_t index = 0; index < records.size(); ++index) {
    const auto at = static_cast<double>(index);
    // Of the interval in which the timestamps jump, they report nothing.
    EXPECT_EQ(records[index].timeMs, 25 * (index < 20 ? at : at - 1));
    EXPECT_NEAR(records[index].arrivalMs, 25 * at, 1e-9);
    EXPECT_EQ(records[index].pluginMs, 60'025 + 25 * index - (index < 20 ? 0 : 10'000));
    ASSERT_EQ(session.sink.frames[index].size(), 1U) << "unknown, for each glove";
    EXPECT_EQ(session.sink.frames[index].front().number, -1);
  }
}

}  // namespace
