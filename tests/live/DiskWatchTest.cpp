#include "host/live/DiskWatch.h"

#include <gtest/gtest.h>

#include <fstream>

#include "host/base/DiskUse.h"
#include "host/recording/RecordingSize.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;

TEST(DiskMeter, MeasuresOnceASecond)
{
  std::chrono::nanoseconds now{0};
  std::optional<std::uint64_t> bytes;
  std::uint64_t free = 1'000'000;
  int questions = 0;
  DiskMeter meter({.bytes =
                       [&] {
                         ++questions;
                         return bytes;
                       },
                   .freeBytes = [&] { return std::optional(free); },
                   .clock = [&] { return now; }});
  const auto none = meter.ask();
  ASSERT_TRUE(none);
  EXPECT_EQ(none->freeBytes, std::nullopt) << "of a device nothing is known";
  std::optional<DiskFigures> figures;
  for (; now < 60s; now += 100ms) {
    bytes = static_cast<std::uint64_t>(now / 1ms) * 10;
    free = 1'000'000 - *bytes;
    if (const auto answer = meter.ask()) figures = answer;
  }
  EXPECT_EQ(questions, 60);
  EXPECT_NEAR(figures->bytesPerSecond.value(), 10'000, 100);
  EXPECT_NEAR(figures->secondsLeft().value(), 41, 1);
  EXPECT_EQ(figures->answered, 59s);
}

TEST(RecordingSize, IsThatOfAllItsFiles)
{
  const TemporaryFolder folder;
  const auto write = [&folder](const char* name, std::size_t size) {
    std::ofstream(folder / name, std::ios::binary) << std::string(size, 'x');
  };
  const auto recording = folder / "run.csv";
  EXPECT_EQ(recordingBytes(recording), std::nullopt);
  EXPECT_EQ(recordingBytes("-"), std::nullopt);
  write("run.csv", 1);  // is being replaced
  write("run.csv.part", 20);
  write("run.json.part", 300);
  write("run.events.csv.part", 4000);
  EXPECT_EQ(recordingBytes(recording), 4320U);
  std::filesystem::rename(folder / "run.csv.part", recording);
  std::filesystem::remove(folder / "run.json.part");
  EXPECT_EQ(recordingBytes(recording), 20U);

  std::filesystem::create_directory(folder / "arrays.part");
  write("arrays.part/samples.npy", 500);
  EXPECT_EQ(recordingBytes(folder / "arrays"), 500U);
  EXPECT_GT(freeBytesFor(recording).value_or(0), 0U);
  EXPECT_EQ(freeBytesFor(folder / "nowhere" / "run.csv"), std::nullopt);
}

}  // namespace
