// The names, types and defaults of the settings file, which hosts and their users rely on.

#include "Settings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "shared/Parameter.h"

namespace {

constexpr const wchar_t* file =
    L"FileVersion 3 TesselAuxCount 0x10 TesselElementCount 250 TesselExecDelay 4 TesselMetaData \"a b\"\n"
    L"TesselNumBleModules 2 TesselNumSensors 5 TesselReadTimeout 6 TesselSerialNumber 2 17 18\n"
    L"TesselSkipSensorStartupCheck 1 TesselTimeDivisor 2.5 TesselWriteTimeout 7";

void expectRead(const settings::Values& values)
{
  EXPECT_EQ(std::tie(values.fileVersion, values.metaData), std::tuple(L"3", L"a b"));
  EXPECT_EQ(std::tie(values.auxCount, values.elementCount, values.execDelay, values.numBleModules),
            std::tuple(16, 250, 4, 2));
  EXPECT_EQ(std::tie(values.numSensors, values.readTimeout, values.writeTimeout, values.timeDivisor),
            std::tuple(5, 6, 7, 2.5));
  EXPECT_EQ(values.serialNumber, (std::vector<std::int32_t>{17, 18}));
  EXPECT_TRUE(values.skipSensorStartupCheck);
}

constexpr const wchar_t* defaults =
    L"FileVersion\t\"\"\nTesselAuxCount\t0\nTesselElementCount\t-1\nTesselExecDelay\t0\n"
    L"TesselMetaData\t\"\"\nTesselNumBleModules\t1\nTesselNumSensors\t-1\nTesselReadTimeout\t10000\n"
    L"TesselSerialNumber\t0\nTesselSkipSensorStartupCheck\t0\nTesselTimeDivisor\t10\n"
    L"TesselWriteTimeout\t500\n";

std::wstring written()
{
  std::wostringstream text;
  parameter::writeMatching(L"", text);
  return text.str();
}

struct Ignoring final : parameter::ReadingObserver {
  void name(const std::wstring&) override {}
  void unknownName(const std::wstring&) override {}
  void value(bool) override {}
};

TEST(Settings, ValuesOfOnesOwnLeaveTheProcessAlone)
{
  settings::current = {};
  settings::Values own;
  const settings::Binding binding(own);
  Ignoring nobody;
  std::wistringstream text(file);
  EXPECT_EQ(parameter::readStream(text, binding.registry(), nobody), 12);
  expectRead(own);
  EXPECT_EQ(written(), defaults);
}

TEST(Settings, TheTwelveKeysHaveTheirDefaultsAndReachTheirVariables)
{
  settings::current = {};
  EXPECT_EQ(written(), defaults);
  std::wistringstream text(file);
  EXPECT_EQ(parameter::readStream(text), 12);
  expectRead(settings::current);
}

#ifdef TESSEL_README
// What people read is what the table says.
TEST(Settings, TheReadmeListsEachKeyWithItsDefault)
{
  std::ifstream file(TESSEL_README);
  const std::string readme{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  settings::Values defaults;
  const settings::Binding binding(defaults);
  const std::regex row("\\n\\| `(Tessel|FileVersion)");
  EXPECT_EQ(std::distance(std::sregex_iterator(readme.begin(), readme.end(), row), std::sregex_iterator()),
            static_cast<std::ptrdiff_t>(settings::keys.size()));
  for (const settings::Key& key : settings::keys) {
    const std::wstring wide = key.name;
    const std::wstring value = binding.registry().at(wide)->toString();
    const std::string name(wide.begin(), wide.end());
    const std::string shown = value == L"\"\"" ? "empty" : std::string(value.begin(), value.end());
    EXPECT_TRUE(std::regex_search(readme, std::regex("\n\\| `" + name + "` \\|[^|]*\\| " + shown + " \\|")))
        << name;
  }
}
#endif

}  // namespace
