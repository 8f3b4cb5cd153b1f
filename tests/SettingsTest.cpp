// The names, types and defaults of the settings file, which hosts and their users rely on.

#include "Settings.h"

#include <gtest/gtest.h>

#include <sstream>

#include "shared/Parameter.h"

namespace {

std::wstring written()
{
  std::wostringstream stream;
  parameter::writeMatching(L"", stream);
  return stream.str();
}

TEST(Settings, TheTwelveKeysHaveTheirDefaults)
{
  EXPECT_EQ(written(),
            L"FileVersion\t\"\"\n"
            L"TesselAuxCount\t0\n"
            L"TesselElementCount\t-1\n"
            L"TesselExecDelay\t0\n"
            L"TesselMetaData\t\"\"\n"
            L"TesselNumBleModules\t1\n"
            L"TesselNumSensors\t-1\n"
            L"TesselReadTimeout\t10000\n"
            L"TesselSerialNumber\t0\n"
            L"TesselSkipSensorStartupCheck\t0\n"
            L"TesselTimeDivisor\t10\n"
            L"TesselWriteTimeout\t500\n");
}

TEST(Settings, EachKeyReachesItsVariable)
{
  std::wistringstream file(
      L"FileVersion 3 TesselAuxCount 0x10 TesselElementCount 250 TesselExecDelay 4 TesselMetaData \"a b\"\n"
      L"TesselNumBleModules 2 TesselNumSensors 5 TesselReadTimeout 6 TesselSerialNumber 2 17 18\n"
      L"TesselSkipSensorStartupCheck 1 TesselTimeDivisor 2.5 TesselWriteTimeout 7");
  EXPECT_EQ(parameter::readStream(file), 12);
  EXPECT_EQ(settings::fileVersion, L"3");
  EXPECT_EQ(settings::auxCount, 16);
  EXPECT_EQ(settings::elementCount, 250);
  EXPECT_EQ(settings::execDelay, 4);
  EXPECT_EQ(settings::metaData, L"a b");
  EXPECT_EQ(settings::numBleModules, 2);
  EXPECT_EQ(settings::numSensors, 5);
  EXPECT_EQ(settings::readTimeout, 6);
  EXPECT_EQ(settings::serialNumber, (std::vector<std::int32_t>{17, 18}));
  EXPECT_TRUE(settings::skipSensorStartupCheck);
  EXPECT_EQ(settings::timeDivisor, 2.5);
  EXPECT_EQ(settings::writeTimeout, 7);
}

}  // namespace
