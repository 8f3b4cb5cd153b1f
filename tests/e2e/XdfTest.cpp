// A recording in XDF, complete or killed, is read by an independent reader and by the program itself.

#include <gtest/gtest.h>
#include <signal.h>
#include <xdf.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "tests/e2e/Tessel.h"

namespace {

double uptime()
{
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Of two gloves, with the same number of samples in all streams.
void expectGloves(const std::string& file, double begin)
{
  Xdf xdf;
  xdf.load_xdf(file);
  ASSERT_EQ(xdf.streams.size(), 4U);
  const std::size_t records = xdf.streams[0].time_stamps.size();
  EXPECT_GT(records, 20U);
  for (const Xdf::Stream& stream : xdf.streams) {
    SCOPED_TRACE(stream.info.name);
    if (stream.info.channel_format == "string") continue;
    const auto& times = stream.time_stamps;
    ASSERT_EQ(times.size(), records);
    EXPECT_TRUE(std::ranges::is_sorted(times));
    EXPECT_GT(times.front(), begin - 1);
    EXPECT_LT(times.back(), uptime());
    if (stream.info.type == "Timing") continue;
    EXPECT_EQ(stream.info.channel_format, "int32");
    ASSERT_EQ(stream.time_series.size(), 125U);
    float highest = 0;
    for (const auto& element : stream.time_series) {
      const auto [low, high] = std::ranges::minmax(element);
      EXPECT_GE(low, 0);
      highest = std::max(highest, high);
    }
    EXPECT_GT(highest, 1000);
    EXPECT_LE(highest, 65535);
  }
  EXPECT_NE(xdf.streams[0].time_stamps, xdf.streams[1].time_stamps) << "each glove has a clock of its own";
}

TEST(XdfRecording, IsReadByOthersHoweverItEnded)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const TemporaryFolder folder;
  const double begin = uptime();
  const auto complete = runTessel(folder, {"record", "--sim", "--seconds", "2", "--output", "run.xdf"});
  EXPECT_EQ(complete.exitCode, 0) << complete.messages;
  expectGloves((folder / "run.xdf").string(), begin);

  Tessel tessel(folder, {"record", "--sim", "--output", "killed", "--format", "xdf"});
  tessel.waitUntil([&] {
    std::error_code notThere;
    const auto size = std::filesystem::file_size(folder / "killed.part", notThere);
    return !notThere && size > 100'000;
  });
  tessel.signal(SIGKILL);
  EXPECT_EQ(tessel.result().exitCode, 128 + SIGKILL);
  expectGloves((folder / "killed.part").string(), begin);
  for (const char* name : {"run.xdf", "killed.part"}) {
    const auto plot = runTessel(folder, {"plot", name, "--output", "a.svg", "--force"});
    EXPECT_EQ(plot.exitCode, 0) << plot.messages;
    EXPECT_EQ(plot.messages.find("not completed") == std::string::npos, name == std::string("run.xdf"));
  }
}

}  // namespace
