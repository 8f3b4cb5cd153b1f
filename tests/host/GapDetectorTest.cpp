#include "host/recording/GapDetector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "host/plot/TimeAxis.h"
#include "tests/support/Timestamps.h"

namespace {

TEST(Gaps, AreFoundFromTimestampsAlone)
{
  // Timestamps at 40 frames a second with a jitter of up to 2 ms; `lost` selects the missing frames.
  const struct {
    std::string name;
    std::function<bool(unsigned frame)> lost;
    std::uint64_t gaps, missing;
    std::uint32_t longestMs;
  } cases[] = {
      {"none", [](unsigned) { return false; }, 0, 0, 0},
      {"one", [](unsigned frame) { return frame == 100; }, 1, 1, 50},
      {"five seconds", [](unsigned frame) { return frame >= 100 && frame < 300; }, 1, 200, 5025},
      {"nine of thirteen", [](unsigned frame) { return frame % 13 > 3; }, 30, 270, 250},
      {"the second one", [](unsigned frame) { return frame == 1; }, 1, 1, 50},
  };
  for (const auto& [name, lost, count, missing, longestMs] : cases) {
    GapDetector gaps;
    for (unsigned frame = 0; frame < 400; ++frame) {
      if (!lost(frame)) gaps.add(0xFFFFF000U + frame * 25 + frame % 3);  // wraps
    }
    EXPECT_EQ(gaps.count(), count) << name;
    EXPECT_NEAR(static_cast<double>(gaps.missing()), static_cast<double>(missing), 2) << name;
    EXPECT_NEAR(gaps.longestMs(), longestMs, 3) << name;
  }
}

TEST(Gaps, AreThoseInThePicture)
{
  // The missing frames, and by how many ms the timestamps step back.
  const struct {
    std::string name;
    std::vector<unsigned> lost;
    std::uint32_t stepBack;
    std::uint64_t gaps;
  } cases[] = {
      {"none", {}, 0, 0},
      {"the second one", {1}, 0, 1},
      {"one here and two there", {50, 120, 121}, 0, 2},
      {"the one before the last", {398}, 0, 1},
      {"one, and a step back", {50}, 900, 1},
  };
  for (const auto& [name, lost, stepBack, count] : cases) {
    std::vector<std::uint32_t> timestamps;
    for (unsigned frame = 0; frame < 400; ++frame) {
      if (std::ranges::find(lost, frame) != lost.end()) continue;
      timestamps.push_back(60'000 + frame * 25 - (frame > 200 ? stepBack : 0));
    }
    Recording recording;
    EXPECT_EQ(setTimestamps(recording, timestamps), stepBack > 0 ? 1 : 0) << name;
    EXPECT_EQ(recording.gaps.count(), count) << name;
    // More than one column for each millisecond.
    const TimeAxis axis(recording, 0, duration(recording), 20'000);
    EXPECT_EQ(axis.gaps().size(), count) << name;
  }
}

TEST(Gaps, APauseOfTheComputerLooksLikeGapsButHardlyLikeMissingFrames)
{
  // As in the plug-in, each timestamp moves by 5 % of its distance from the time of the read.
  for (const unsigned waiting : {20U, 120U}) {
    GapDetector gaps;
    double moved = 0;
    for (unsigned frame = 0; frame < 600; ++frame) {
      const unsigned resumed = 200 + waiting;
      const double late = frame >= 200 && frame < resumed ? (resumed - frame) * 25 : 0;
      moved = 0.05 * late + 0.95 * moved;
      gaps.add(60'000 + frame * 25 + static_cast<std::uint32_t>(moved));
    }
    EXPECT_GT(gaps.count(), 0U);
    EXPECT_LT(gaps.missing(), 15U) << "all frames arrived; this many waited: " << waiting;
    EXPECT_NEAR(gaps.recordsPerSecond(), 40, 0.2);
  }
}

}  // namespace
