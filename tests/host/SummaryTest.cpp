#include "host/session/Summary.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

TEST(Summary, HasTimestampStatisticsAndDuration)
{
  const Layout layout{.elements = 1, .groups = {{"left", "KVXGL00017", 0, 1}}};
  RecordingFigures figures;
  figures.latest = figures.highest = {7};
  figures.records = 41;
  figures.seconds = 8.04;
  figures.stalls = {.count = 2, .longest = 3.25, .latest = 1};
  for (std::uint32_t frame = 0; frame < 41; ++frame) {
    figures.gaps.add(60'000 + frame * 100 + (frame < 30 ? 0 : 300) - (frame < 35 ? 0 : 900));
  }
  EXPECT_EQ(summaryText({layout, RecordingFigures(), {}, "no glove.", ExitCode::silence}),
            "No frames were recorded, so nothing was kept. Ended: no glove.\n");
  const RecordingSummary summary{layout, figures, {}, "as requested.", ExitCode::done};
  const std::string text = summaryText(summary);
  for (const char* words :
       {"41 frames in 8.0 s", "times span 4.2 s", "1 interval longer than usual, up to 400 ms",
        "about 3 frames are missing", "1 backward step\n", "stalled for 3.2 s, the longest of 2 stalls"}) {
    EXPECT_NE(text.find(words), std::string::npos) << words << " in: " << text;
  }
  const auto json = summaryJson(summary, false);
  EXPECT_FALSE(json.contains("peakMemoryKiB"));
  EXPECT_GT(summaryJson(summary, true).at("peakMemoryKiB"), 0);
  EXPECT_EQ(json.at("seconds"), 8.04);
  EXPECT_EQ(json.at("timestampSeconds"), 4.2);
  EXPECT_EQ(json.at("gaps"), 1);
  EXPECT_EQ(json.at("longestGapMs"), 400);
  EXPECT_EQ(json.at("backwardSteps"), 1);
  EXPECT_EQ(json.at("stalls").at("count"), 2);
  EXPECT_EQ(json.at("stalls").at("longestSeconds"), 3.25);
}

}  // namespace
