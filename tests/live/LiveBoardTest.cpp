#include "host/live/LiveBoard.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "host/gloves/OpeningFailure.h"
#include "tests/live/BoardFixture.h"

namespace {

using namespace std::chrono_literals;
using Json = nlohmann::json;

TEST(LiveBoard, HasValidTextsBeforeTheGloves)
{
  BoardFixture fixture;
  EXPECT_EQ(fixture.state()["phase"], "opening");
  EXPECT_EQ(Json::parse(fixture.board.layout())["gloves"], Json::array());
  EXPECT_EQ(fixture.board.picture(), "");
  EXPECT_EQ(Json::parse(fixture.board.history()), Json::parse(R"({"ms": [], "gloves": []})"));

  const OpeningFailure failure(ExitCode::noGloves, "Not enough gloves.", "Switch them on.", true);
  fixture.board.openingFailed({failure, {}, 10});
  EXPECT_EQ(fixture.state()["text"], "Not enough gloves. Trying again for up to 10 s.");
  EXPECT_EQ(
      fixture.state()["warnings"][0],
      Json::parse(R"({"id": "opening", "level": "notice", "text": "Not enough gloves. Switch them on."})"));
}

TEST(LiveBoard, DescribesTheGloves)
{
  BoardFixture fixture;
  const auto version = fixture.board.layoutVersion();
  fixture.open();
  EXPECT_NE(fixture.board.layoutVersion(), version);
  const Json layout = Json::parse(fixture.board.layout());
  EXPECT_EQ(layout["gloves"].size(), 2U);
  EXPECT_EQ(layout["gloves"][0]["regions"][1], Json::parse(R"({"name": "palm", "elements": [1, 2]})"));
  EXPECT_EQ(layout["gloves"][1]["regions"], Json::parse(R"([{"name": "all", "elements": [0, 1]}])"));
  EXPECT_EQ(layout["gloves"][1]["hasRegions"], false);
  EXPECT_EQ(layout["file"], nullptr);
  EXPECT_EQ(layout["colours"][0], "#440154");
}

// A short contact must not fall between two pictures, nor between two points of a curve.
TEST(LiveBoard, KeepsThePeaksOfEachRegion)
{
  BoardFixture fixture;
  fixture.open();
  fixture.board.arrived(fixture.now(), std::vector<std::uint16_t>{10, 0, 1, 21, 0, 0, 9});
  fixture.pass(20ms);
  fixture.board.arrived(fixture.now(), std::vector<std::uint16_t>{1, 2, 3, 4, 65535, 65534, 9});
  EXPECT_EQ(fixture.board.picture(),
            R"({"record":2,"ms":20.0,"gloves":[{"elements":[1,2,3,4],"regions":[15.5,2.5]},)"
            R"({"elements":[65535,65534],"regions":[65534.5]}]})");
  EXPECT_EQ(fixture.board.picture(), "");
  fixture.pass(20ms);
  fixture.arrive(7);
  EXPECT_EQ(Json::parse(fixture.board.picture())["gloves"][0]["regions"], Json::parse("[7.0, 7.0]"));
  EXPECT_EQ(
      Json::parse(fixture.board.history()),
      Json::parse(R"({"ms": [20.0], "gloves": [{"regions": [[15.5], [2.5]]}, {"regions": [[65534.5]]}]})"));
  // The latest point comes when no more belongs to it.
  fixture.pass(200ms);
  fixture.board.recording(fixture.figures);
  EXPECT_EQ(Json::parse(fixture.board.history())["ms"], Json::parse("[20.0, 40.0]"));
}

TEST(LiveBoard, KeepsTwoMinutesOfCurves)
{
  BoardFixture fixture;
  fixture.open();
  for (int record = 0; record < 4 * 3600 * 50; ++record) {
    fixture.pass(20ms);
    fixture.arrive(record % 50 == 0 ? 1000 : 1);
  }
  const Json history = Json::parse(fixture.board.history());
  const std::size_t points = history["ms"].size();
  EXPECT_LE(points, 120U * LiveSource::picturesPerSecond + 1);
  EXPECT_GE(points, 110U * LiveSource::picturesPerSecond);
  EXPECT_NEAR(history["ms"].back().get<double>() - history["ms"].front().get<double>(), 120e3, 100);
  const Json palm = history["gloves"][0]["regions"][1];
  ASSERT_EQ(palm.size(), points);
  EXPECT_EQ(std::ranges::count(palm, Json(1000.0)), 120);
  // Only time passes.
  fixture.pass(60s);
  EXPECT_NEAR(static_cast<double>(Json::parse(fixture.board.history())["ms"].size()),
              static_cast<double>(points) / 2, 2);
}

TEST(LiveBoard, FollowsALossOfOneGlove)
{
  BoardFixture fixture;
  fixture.captured(fixture.now());
  fixture.open();
  fixture.board.begin(fixture.now());
  fixture.pass(100ms);
  fixture.arrive(0);
  fixture.captured(fixture.now());
  fixture.board.recording(fixture.figures);
  EXPECT_EQ(fixture.glove(1)["state"], "connected");

  fixture.figures.reconnections.push_back({.reason = "the connection to the right glove was lost."});
  fixture.board.event({100, "disconnected", "right", "lost"});
  fixture.board.lost(LinkLoss({"right"}), fixture.figures);
  fixture.pass(2s);
  // Before the first attempt nothing is known of what is heard.
  fixture.board.waiting({.seconds = 2, .secondsLeft = 58, .failure = {}, .heard = {}}, fixture.figures);
  EXPECT_EQ(fixture.glove(0)["state"], "away");
  EXPECT_EQ(fixture.glove(1)["state"], "lost");
  EXPECT_EQ(fixture.warnings(), "lost-right away ");
  const Json away = fixture.state()["reconnections"];
  EXPECT_EQ(away, Json::parse(R"({"count": 1, "awaySeconds": 2.0, "secondsLeft": 58.0})"));

  HeardDevices heard;
  const std::string name = "\x0B\x09KVXGR00018";
  heard.add({.rssi = -61, .data = {reinterpret_cast<const std::uint8_t*>(name.data()), name.size()}});
  fixture.board.waiting({.seconds = 2,
                         .secondsLeft = 58,
                         .failure = Failure(ExitCode::noGloves, "too few.", ""),
                         .heard = heard},
                        fixture.figures);
  EXPECT_EQ(fixture.state()["text"], "left glove not heard, right glove heard (-61 dBm), 0 other devices");
  EXPECT_EQ(fixture.glove(1)["state"], "away");
  EXPECT_EQ(fixture.glove(1)["rssi"], -61);
  EXPECT_EQ(fixture.warnings(), "away opening ");

  const auto version = fixture.board.layoutVersion();
  fixture.figures.reconnections.back().modules = {"KVXGL00017", "KVXGR00099"};
  fixture.captured(fixture.now());
  fixture.board.back(2, 1, fixture.figures);
  fixture.board.recording(fixture.figures);
  EXPECT_EQ(fixture.state()["phase"], "reading");
  EXPECT_EQ(fixture.glove(1)["state"], "connected");
  EXPECT_EQ(fixture.warnings(), "");
  EXPECT_NE(fixture.board.layoutVersion(), version);
  EXPECT_EQ(Json::parse(fixture.board.layout())["gloves"][1]["module"], "KVXGR00099");
}

TEST(LiveBoard, KeepsTheLatestEvents)
{
  BoardFixture fixture;
  fixture.open();
  fixture.board.event({Record::unknown, "marker", "", "early"});
  fixture.pass(1s);
  fixture.board.begin(fixture.now());
  for (int marker = 0; marker < 30; ++marker)
    fixture.board.event({marker * 1000.0, "marker", "", "m"});
  const Json state = fixture.state();
  EXPECT_EQ(state["markers"], 31);
  EXPECT_EQ(state["events"].size(), 20U);
  EXPECT_EQ(state["events"][19], Json::parse(R"({"number": 31, "ms": 30000.0, "seconds": 29.0,
                                                 "event": "marker", "glove": "", "detail": "m"})"));
}

// Whatever others call themselves and whatever is unknown, browsers must be able to read it.
TEST(LiveBoard, SendsValidTextsOfHostileOnes)
{
  const std::string hostile = "\"</script>\x1B\xFF\xE2\x80\xAE\n\\";
  BoardFixture fixture(hostile);
  fixture.open();
  fixture.board.event({Record::unknown, hostile, hostile, hostile});
  fixture.board.add({.timeMs = Record::unknown,
                     .arrivalMs = Record::unknown,
                     .frames = std::vector<GloveFrame>(2),
                     .elements = {}});
  fixture.figures.seconds = Record::unknown;
  fixture.board.recording(fixture.figures);
  EXPECT_EQ(fixture.state()["seconds"], nullptr);
  const std::string shown = R"("</script>\x1B\xFF\u202E\n\)";
  EXPECT_EQ(Json::parse(fixture.board.layout())["gloves"][0]["module"], shown);
  EXPECT_EQ(fixture.state()["events"][0]["detail"], shown);
  fixture.board.lost(Failure(ExitCode::silence, hostile, hostile), fixture.figures);
  EXPECT_EQ(fixture.state()["text"], shown);
  fixture.board.ended(hostile, ExitCode::silence, &fixture.figures);
  EXPECT_EQ(fixture.state()["warnings"][0]["text"], shown);
}

TEST(LiveBoard, KeepsTheLastState)
{
  BoardFixture fixture;
  fixture.captured(fixture.now());
  fixture.open();
  fixture.arrive(5);
  fixture.board.recording(fixture.figures);
  fixture.board.notStored(Failure(ExitCode::output, "the disk did not store all.", ""));
  fixture.board.closing();
  fixture.pass(5s);
  EXPECT_EQ(fixture.warnings(), "stored ");
  fixture.figures.accounts->books.isFinal = true;
  fixture.figures.accounts->ended = {fixture.now(), fixture.now()};
  fixture.figures.records = 1;
  fixture.board.ended("as requested.", ExitCode::done, &fixture.figures);
  fixture.pass(3600s);
  const Json state = fixture.state();
  EXPECT_EQ(state["phase"], "ended");
  EXPECT_EQ(state["ending"], Json::parse(R"({"text": "as requested.", "exitCode": 0})"));
  EXPECT_EQ(state["gloves"][0]["state"], "connected");
  EXPECT_EQ(state["books"]["balanced"], true);
  EXPECT_EQ(state["warnings"], Json::array());
  EXPECT_NE(fixture.board.picture(), "");
}

TEST(LiveBoard, ForgetsAPeakThatNobodyLookedAt)
{
  BoardFixture fixture;
  fixture.open();
  fixture.arrive(5000);
  fixture.pass(60s);
  fixture.arrive(10);
  EXPECT_EQ(Json::parse(fixture.board.picture())["gloves"][0]["regions"][1], 10);
}

// However greedy the server is, each record reaches it: as the newest one, or in a peak.
TEST(LiveBoard, LosesNothingBetweenTwoThreads)
{
  constexpr std::uint64_t records = 20'000;
  const auto valueOf = [](std::uint64_t record) {
    return static_cast<std::uint16_t>(record * 7919 % 60'013);
  };
  BoardFixture fixture;
  fixture.captured(fixture.now());
  fixture.open();
  fixture.board.begin(fixture.now());
  std::atomic<bool> isOver{false};
  std::uint64_t latest = 0;
  std::thread server([&] {
    for (bool isLast = false; !isLast;) {
      isLast = isOver;
      EXPECT_FALSE(fixture.board.state().empty());
      EXPECT_FALSE(fixture.board.history().empty());
      const std::string text = fixture.board.picture();
      if (text.empty()) continue;
      const Json picture = Json::parse(text);
      const std::uint64_t before = std::exchange(latest, picture["record"].get<std::uint64_t>());
      std::uint16_t peak = 0;
      for (std::uint64_t record = before + 1; record <= latest; ++record)
        peak = std::max(peak, valueOf(record));
      EXPECT_EQ(picture["gloves"][0]["elements"][2], valueOf(latest));
      EXPECT_EQ(picture["gloves"][0]["regions"][1], peak) << before << " to " << latest;
    }
  });
  // So fast that no peak is too old.
  for (std::uint64_t record = 1; record <= records; ++record) {
    fixture.pass(20us);
    fixture.arrive(valueOf(record));
    fixture.add(static_cast<std::int64_t>(record), 1);
    fixture.captured(fixture.now());
    if (record % 10 == 0) fixture.board.recording(fixture.figures);
    if (record % 100 == 0) fixture.board.event({20.0 * static_cast<double>(record), "marker", "", "m"});
  }
  fixture.board.ended("as requested.", ExitCode::done, &fixture.figures);
  isOver = true;
  server.join();
  EXPECT_EQ(latest, records);
  EXPECT_EQ(fixture.state()["markers"], records / 100);
}

}  // namespace
