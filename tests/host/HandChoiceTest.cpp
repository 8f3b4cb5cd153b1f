#include "host/session/HandChoice.h"

#include <gtest/gtest.h>

#include "host/base/Failure.h"
#include "host/gloves/SettingsFile.h"
#include "tests/support/TemporaryFolder.h"

namespace {

constexpr const char* validLayout = R"({"format": "tessel-layout", "version": 1, "name": "found",
                                        "left": {"regions": [{"name": "all", "elements": [0]}]}})";

TEST(HandChoice, PrefersTheGivenFileToTheSettingsFolderAndThatToTheSimulation)
{
  constexpr int perGlove = elementsOfGlove;
  const struct {
    const char* name;
    bool isGiven;
    std::string besideSettings;  // layout.json; empty: no such file
    bool isSimulated;
    int elements;
    std::string chosen;  // its name
  } cases[] = {
      {"given", true, validLayout, true, perGlove, "given"},
      {"settings folder", false, validLayout, true, perGlove, "found"},
      {"foreign file", false, R"({"format": "keyboard"})", true, perGlove, "simulated hand"},
      {"foreign file, real gloves", false, "\xFF\xFE", false, perGlove, "none"},
      {"damaged", false, R"({"format": "tessel-layout", )", true, perGlove, "failure"},
      {"simulated", false, "", true, perGlove, "simulated hand"},
      {"part of the simulated elements", false, "", true, perGlove - 1, "none"},
      {"real gloves", false, "", false, perGlove, "none"},
  };
  for (const auto& row : cases) {
    const TemporaryFolder folder;
    std::string given = validLayout;
    folder.write("given.json", given.replace(given.find("found"), 5, "given"));
    if (!row.besideSettings.empty()) folder.write("layout.json", row.besideSettings);
    const std::filesystem::path file = row.isGiven ? folder / "given.json" : "";
    HardwareOptions hardware;
    hardware.settings = folder / "settings.txt";
    hardware.isSimulated = row.isSimulated;
    settings::Values values = valuesFor(2);
    values.elementCount = 2 * row.elements;
    std::string chosen = "none";
    try {
      if (const auto layout = chooseHands(file, hardware, values)) chosen = layout->name();
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), ExitCode::usage);
      chosen = "failure";
    }
    EXPECT_EQ(chosen, row.chosen) << row.name;
  }
}

}  // namespace
