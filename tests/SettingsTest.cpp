// The names, types and defaults of the settings file, which hosts and their users rely on.

#include "Settings.h"

#include <gtest/gtest.h>

#include <sstream>

#include "shared/Parameter.h"

TEST(Settings, TheTwelveKeysHaveTheirDefaultsAndReachTheirVariables)
{
  std::wostringstream defaults;
  parameter::writeMatching(L"", defaults);
  EXPECT_EQ(defaults.str(),
            L"FileVersion\t\"\"\nTesselAuxCount\t0\nTesselElementCount\t-1\nTesselExecDelay\t0\n"
            L"TesselMetaData\t\"\"\nTesselNumBleModules\t1\nTesselNumSensors\t-1\nTesselReadTimeout\t10000\n"
            L"TesselSerialNumber\t0\nTesselSkipSensorStartupCheck\t0\nTesselTimeDivisor\t10\n"
            L"TesselWriteTimeout\t500\n");

  std::wistringstream file(
      L"FileVersion 3 TesselAuxCount 0x10 TesselElementCount 250 TesselExecDelay 4 TesselMetaData \"a b\"\n"
      L"TesselNumBleModules 2 TesselNumSensors 5 TesselReadTimeout 6 TesselSerialNumber 2 17 18\n"
      L"TesselSkipSensorStartupCheck 1 TesselTimeDivisor 2.5 TesselWriteTimeout 7");
  EXPECT_EQ(parameter::readStream(file), 12);
  using namespace settings;
  EXPECT_EQ(std::tie(fileVersion, metaData), std::tuple(L"3", L"a b"));
  EXPECT_EQ(std::tie(auxCount, elementCount, execDelay, numBleModules), std::tuple(16, 250, 4, 2));
  EXPECT_EQ(std::tie(numSensors, readTimeout, writeTimeout, timeDivisor), std::tuple(5, 6, 7, 2.5));
  EXPECT_EQ(serialNumber, (std::vector<std::int32_t>{17, 18}));
  EXPECT_TRUE(skipSensorStartupCheck);
}
