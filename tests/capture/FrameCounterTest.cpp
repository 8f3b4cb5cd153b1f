#include "host/capture/FrameCounter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;

// A glove in order: each step is a frame that is heard, `frames` after the previous one, with a clock that
// moves by `ticks` for each, and arrives `late`.
struct Heard {
  std::int64_t frames;
  std::int64_t late = 0;     // ms
  std::int64_t ticks = 250;  // in a frame
  std::int64_t jump = 0;     // of the clock, in ticks
};

// Many frames in a row.
std::vector<Heard> steady(std::size_t count, std::int64_t late = 0, std::int64_t ticks = 250)
{
  return {count, {.frames = 1, .late = late, .ticks = ticks}};
}

std::vector<Heard> operator+(std::vector<Heard> first, const std::vector<Heard>& second)
{
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

struct Case {
  const char* name;
  std::vector<Heard> frames;
  std::uint64_t ambiguous = 0;
};

std::vector<Heard> drained(std::int64_t lateMs, std::int64_t ticks = 250)
{
  std::vector<Heard> frames;
  for (std::int64_t late = lateMs; late > 0; late -= 10) {
    frames.push_back({.frames = 1, .late = late, .ticks = ticks});
  }
  return frames;
}

const Case cases[] = {
    {"EachFrame", steady(100)},
    {"SomeLost", steady(20) + std::vector<Heard>{{5}, {1}, {15}, {16}, {17}, {40}} + steady(20)},
    {"TheSecondHeardIsTheSeventeenth", std::vector<Heard>{{17}} + steady(20)},
    {"OnlyTwoHeard", {{3}}},
    {"ADropoutOf5Seconds", steady(100) + std::vector<Heard>{{200}} + steady(100)},
    {"ADropoutOf20Seconds", steady(100) + std::vector<Heard>{{803}} + steady(100)},
    {"ADropoutOf100SecondsFitsTwiceAndEndsInTime", steady(100) + std::vector<Heard>{{4001}} + steady(300)},
    {"QueuedInTheGloveFor3Seconds",
     steady(100) + std::vector<Heard>{{1, 3000}} + drained(3000) + steady(100)},
    // 256 frames of 256 ticks are a wrap of both counter and clock.
    {"AWrapOfBoth", steady(100, 0, 256) + std::vector<Heard>{{256, 0, 256}} + steady(300, 0, 256)},
    {"AWrapOfBothThatNothingSettles",
     steady(100, 0, 256) + std::vector<Heard>{{300, 0, 256}} + steady(100, 0, 256), 1},
    {"AWrapOfBothAndABacklog",
     steady(100, 0, 256) + std::vector<Heard>{{300, 7000, 256}} + drained(7000, 256) + steady(300, 0, 256)},
    {"AWrapOfBothDuringABacklog", steady(100, 0, 256) + steady(100, 20'000, 256) +
                                      std::vector<Heard>{{2, 20'000, 256}} + drained(20'000, 256) +
                                      steady(300, 0, 256)},
    {"ABacklogThatNeverDrains",
     steady(100, 0, 256) + std::vector<Heard>{{300, 7000, 256}} + steady(300, 7000, 256), 1},
    {"AnotherRate", steady(50) + steady(50, 0, 500) + steady(50, 0, 167)},
    {"ARateThatLooksLikeSixteenLostFramesEachTime", steady(50, 0, 100) + steady(50, 0, 1709)},
    {"ARateBelowTheWrap", steady(50, 0, 100'000)},
    {"AHostPause", steady(50) + steady(20, 500) + drained(500) + steady(50)},
    {"AJumpOfTheClock", steady(50) + std::vector<Heard>{{1, 0, 250, 40'000}} + steady(50), 1},
};

TEST(FrameCounting, FindsTheNumberOfFrames)
{
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    FrameCounter counter;
    std::int64_t number = 5;
    std::int64_t ticks = 65'000;
    auto sampled = 100s + 0us;
    FrameCounter::Frame latest =
        counter.add({.counter = 5, .clock = static_cast<std::uint16_t>(ticks), .arrival = sampled});
    EXPECT_EQ(latest.number, number);
    std::int64_t sum = 0;
    for (const Heard& heard : row.frames) {
      number += heard.frames;
      ticks += heard.frames * heard.ticks + heard.jump;
      sampled += 100us * (heard.frames * heard.ticks);
      latest = counter.add({.counter = static_cast<std::uint8_t>(number % 16),
                            .clock = static_cast<std::uint16_t>(ticks),
                            .arrival = sampled + std::chrono::milliseconds(heard.late)});
      sum += latest.steps + counter.takeCorrection();
    }
    counter.endConnection();
    sum += counter.takeCorrection();
    EXPECT_EQ(counter.ambiguous(), row.ambiguous);
    EXPECT_EQ((latest.number - number) % 16, 0);
    if (row.ambiguous > 0) continue;
    EXPECT_EQ(sum, number - 5);
  }
}

}  // namespace
