#include "host/gloves/SettingsFile.h"

#include <gtest/gtest.h>

#include <locale>

#include "tests/support/TemporaryFolder.h"

namespace {

TEST(SettingsFile, EachInvalidByteIsReportedWithLineAndColumn)
{
  const std::locale before = std::locale::global(std::locale::classic());
  const TemporaryFolder folder;
  folder.write("settings",
               "\xEF\xBB\xBF// r\xC3\xA4\xE2\x82\xAC\nTesselElementCount\t250\nTesselMetaData\t\"\xE4\"\n"
               "TesselNumBleModules\t2\nTesselNumSensors\t2\n");
  const SettingsReport report = readSettings(folder / "settings");
  std::locale::global(before);
  EXPECT_EQ(report.values.numSensors, 2) << "the rest of the file is read";
#ifndef _WIN32  // whose C locale accepts each byte as a character
  EXPECT_EQ(errorLines(report, 9),
            (std::vector<std::string>{
                "  line 1: column 5: C3 A4 is not text in this character set; it was read as UTF-8.",
                "  line 1: column 6: E2 82 AC is not text in this character set; it was read as UTF-8.",
                "  line 3: column 17: E4 is not text in this character set; it was read as Latin-1."}));
#endif
}

TEST(SettingsFile, OfABinaryFileOnlyTheFirstBytesAreReported)
{
  const std::locale before = std::locale::global(std::locale::classic());
  const TemporaryFolder folder;
  folder.write("settings", "// " + std::string(1'000'000, '\xFF'));
  const SettingsReport report = readSettings(folder / "settings");
  std::locale::global(before);
  EXPECT_LE(report.errors.size(), 1002U);
}

}  // namespace
