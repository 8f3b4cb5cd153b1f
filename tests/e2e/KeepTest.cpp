// What `tessel record` leaves can be read, however it ended.

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/e2e/Tessel.h"

namespace {

TEST(Keep, WhatIsRecordedCanBePlotted)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const TemporaryFolder folder;
  const struct {
    const char* auxCount;
    int exitCode;
    std::string words;
  } cases[] = {
      {"3846", 0, "Recorded 3 frames"}, {"3847", 3, "1 to 4096 elements"}, {"2147483647", 3, "4096"}};
  for (const auto& [auxCount, exitCode, words] : cases) {
    folder.write("settings",
                 "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\nTesselAuxCount\t" +
                     std::string(auxCount) + "\n");
    const auto result = runTessel(folder, {"record", "--sim", "--settings", "settings", "--frames", "3",
                                           "--output", "run.csv", "--force"});
    EXPECT_EQ(result.exitCode, exitCode) << auxCount << result.messages;
    EXPECT_NE(result.messages.find(words), std::string::npos) << auxCount << result.messages;
    if (exitCode != 0) continue;
    EXPECT_EQ(runTessel(folder, {"plot", "run.csv"}).exitCode, 0) << auxCount;
  }
}

}  // namespace
