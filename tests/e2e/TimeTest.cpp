// What a recording says of time: its clock, and a computer that stood still.

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"

namespace {

TEST(Time, BeginsWithTheProgramAndNotWithTheComputer)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const TemporaryFolder folder;
  const auto result = runTessel(folder, {"record", "--sim", "--frames", "5", "--output", "run.csv"});
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  const Rows rows = recordedRows(folder, "run.csv");
  EXPECT_GE(rows.front().front(), 60'000U);
  EXPECT_LT(rows.back().front(), 120'000U) << "or the computer took a minute for it";
}

}  // namespace
