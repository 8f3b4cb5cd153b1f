// Time in a recording: its clock, and pauses of the computer.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"

namespace {

using namespace std::chrono_literals;

TEST(Time, BeginsWithTheProgramAndNotWithTheComputer)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const TemporaryFolder folder;
  const auto result = runTessel(folder, words("record --sim --frames 5 --output run.csv"));
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  const Rows rows = recordedRows(folder, "run.csv");
  EXPECT_GE(rows.front().front(), 60'000U);
  EXPECT_LT(rows.back().front(), 120'000U) << "unless the computer took a minute for it";
}

TEST(Stall, OfTheProgramIsNotMistakenForSilentGloves)
{
  const TemporaryFolder folder;
  // The plug-in's read timeout is shorter than the stall.
  folder.write("settings",
               "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\n"
               "TesselReadTimeout\t1000\n");
  PtyGloves gloves(folder / "dongle", 1);
  Tessel tessel(folder, words("record --settings settings --output run.csv --json"));
  const auto rowCount = [&] { return std::ranges::count(folder.read("run.csv.part"), '\n'); };
  tessel.waitUntil([&] { return rowCount() > 20; });
  tessel.signal(SIGSTOP);
  std::this_thread::sleep_for(2500ms);
  const auto before = rowCount();
  tessel.signal(SIGCONT);
  // The buffered frames, and half a second more.
  tessel.waitUntil([&] { return rowCount() > before + 120; });
  tessel.signal(SIGINT);
  const auto result = tessel.result();
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  EXPECT_NE(result.messages.find("stalled for"), std::string::npos) << result.messages;
  const auto stalls = nlohmann::json::parse(result.output).at("stalls");
  EXPECT_GE(stalls.at("count"), 1) << result.output;
  EXPECT_GE(stalls.at("longestSeconds"), 2.4) << result.output;
  // The first element of each glove counts its frames. Behind the first record one may be missing: of the
  // frames that came while the gloves were opened the plug-in keeps the latest.
  const Rows rows = recordedRows(folder, "run.csv");
  expectSent(rows, rows.size());
  for (std::size_t row = 2; row < rows.size(); ++row) {
    ASSERT_EQ(rows[row][1], rows[row - 1][1] + 1) << "frame " << row;
  }
}

}  // namespace
