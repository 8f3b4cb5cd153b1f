#include "host/recording/Gaps.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

TEST(Gaps, AreFoundByTheStampsAlone)
{
  // Stamps at 40 frames a second, uneven by a millisecond or two; `lost` says which frames do not come.
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
      {"the second one, while gloves begin", [](unsigned frame) { return frame == 1; }, 0, 0, 0},
  };
  for (const auto& [name, lost, count, missing, longestMs] : cases) {
    Gaps gaps;
    for (unsigned frame = 0; frame < 400; ++frame) {
      if (!lost(frame)) gaps.add(0xFFFFF000U + frame * 25 + frame % 3);  // wraps on the way
    }
    EXPECT_EQ(gaps.count(), count) << name;
    EXPECT_NEAR(static_cast<double>(gaps.missing()), static_cast<double>(missing), 2) << name;
    EXPECT_NEAR(gaps.longestMs(), longestMs, 3) << name;
  }
}

TEST(Gaps, FramesThatWaitedWhileTheComputerPausedAreNotMissing)
{
  Gaps gaps;
  for (unsigned frame = 0; frame < 400; ++frame) {
    const bool waited = frame >= 200 && frame < 220;
    gaps.add(waited ? 219 * 25 + frame % 2 : frame * 25);
  }
  EXPECT_EQ(gaps.count(), 1U);
  EXPECT_LE(gaps.missing(), 1U);
  EXPECT_NEAR(gaps.recordsPerSecond(), 40, 0.2);
}

}  // namespace
