#include "host/live/LiveTexts.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/live/StubSource.h"

namespace {

using namespace std::chrono_literals;
using Time = LiveTexts::Time;

constexpr Time start = 100s;
constexpr Time tick = Time(1s) / LiveSource::picturesPerSecond;

std::string joined(const LiveTexts::Events& events)
{
  std::string text;
  for (const auto& event : events) {
    if (event) text += *event;
  }
  return text;
}

// The states that a viewer gets in so many ticks.
int statesIn(LiveTexts& texts, Time from, int ticks, LiveTexts::Seen& seen)
{
  int states = 0;
  for (int i = 1; i <= ticks; ++i) {
    texts.tick(from + i * tick);
    states += joined(texts.next(seen)).find("event: state") != std::string::npos ? 1 : 0;
  }
  return states;
}

TEST(LiveTexts, SendEachViewerWhatIsNew)
{
  StubSource source;
  LiveTexts texts(source, "t");
  texts.makeAll(start);
  LiveTexts::Seen early;
  EXPECT_EQ(joined(texts.next(early)),
            "event: layout\ndata: {\"layout\":1}\n\n"
            "event: state\ndata: {\"ms\":1,\"state\":0}\n\n"
            "event: picture\ndata: {\"picture\":1}\n\n");
  EXPECT_EQ(joined(texts.next(early)), "") << "nothing is sent twice";

  texts.tick(start + tick);
  EXPECT_EQ(joined(texts.next(early)), "event: picture\ndata: {\"picture\":2}\n\n");

  // One that was receiving for long gets the newest, and the layout in any case.
  LiveTexts::Seen slow = early;
  source.version = 2;
  texts.tick(start + 2 * tick);
  texts.next(early);
  texts.tick(start + 3 * tick);
  EXPECT_EQ(joined(texts.next(early)), "event: picture\ndata: {\"picture\":4}\n\n");
  EXPECT_EQ(joined(texts.next(slow)),
            "event: layout\ndata: {\"layout\":2}\n\nevent: picture\ndata: {\"picture\":4}\n\n");

  source.hasPictures = false;
  texts.tick(start + 4 * tick);
  EXPECT_EQ(joined(texts.next(early)), "") << "no record has arrived";
}

TEST(LiveTexts, SendTheStateAsOftenAsNeeded)
{
  StubSource source;
  LiveTexts texts(source, "t");
  texts.makeAll(start);
  LiveTexts::Seen seen;
  texts.next(seen);
  const int unchanged = statesIn(texts, start, 300, seen);
  EXPECT_GE(unchanged, 20) << "at least every half second, although only its clock changes";
  EXPECT_LE(unchanged, 26);

  int changing = 0;
  for (int i = 0; i < 300; ++i) {
    source.set(std::to_string(i));
    changing += statesIn(texts, start + 20s + i * tick, 1, seen);
  }
  EXPECT_GE(changing, 45) << "five times a second";
  EXPECT_LE(changing, 51);
}

TEST(LiveTexts, AreNotMadeForEachRequest)
{
  StubSource source;
  LiveTexts texts(source, "t");
  const std::string first = *texts.everything(start, 3);
  EXPECT_EQ(
      first,
      R"({"token":"t","viewers":3,"layout":{"layout":1},"state":{"ms":1,"state":0},"picture":{"picture":1}})");
  EXPECT_EQ(*texts.everything(start + 99ms, 3), first);
  EXPECT_EQ(*texts.history(start), R"({"history":1})");
  EXPECT_EQ(*texts.history(start + 999ms), R"({"history":1})");
  EXPECT_EQ(*texts.history(start + 1s), R"({"history":2})");

  // The viewers of the stream miss no picture by it.
  texts.makeAll(start + 200ms);
  EXPECT_NE(texts.everything(start + 210ms, 3)->find(R"("picture":{"picture":2}})"), std::string::npos);
  EXPECT_EQ(source.pictures, 2U);

  StubSource empty;
  empty.hasPictures = false;
  EXPECT_NE(LiveTexts(empty, "t").everything(start, 0)->find(R"("picture":null})"), std::string::npos);
}

}  // namespace
