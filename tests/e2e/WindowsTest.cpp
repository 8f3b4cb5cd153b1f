// tessel.exe with HwTessel.dll under Wine, with a simulated dongle outside of it. scripts/test-windows sets
// the variables TESSEL_EXE and WINEPREFIX, and registers COM7 there as the dongle's port.

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"

namespace {

namespace fs = std::filesystem;

std::string variable(const char* name)
{
  const char* const text = std::getenv(name);
  EXPECT_NE(text, nullptr) << name << " is not set: run scripts/test-windows";
  return text != nullptr ? text : "";
}

class Windows : public testing::Test {
 public:
  Windows() { setPort(folder_ / "dongle"); }

  // The target of COM7, which need not exist.
  static void setPort(const fs::path& target)
  {
    const fs::path link = fs::path(variable("WINEPREFIX")) / "dosdevices/com7";
    fs::remove(link);
    fs::create_symlink(target, link);
  }

  Tessel::Result run(std::vector<std::string> arguments) const
  {
    return Tessel(folder_, std::move(arguments), {"wine64", variable("TESSEL_EXE")}).result();
  }

  TemporaryFolder folder_;
  TemporaryFolder simulator_;
};

TEST_F(Windows, EveryElementOfEveryFrameIsWhatTheGlovesSent)
{
  // Slower than real ones, because Wine is slow at each call of the port.
  PtyGloves gloves(folder_ / "dongle", 0.5);
  const auto result = run({"record", "--frames", "60", "--output", "two.csv", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  EXPECT_NE(result.output.find("\"battery\": 0.75"), std::string::npos) << result.output;
  expectSent(recordedRows(folder_, "two.csv"), 60);
}

TEST_F(Windows, EachCommandWorks)
{
  Tessel sim(simulator_, {"sim", "--port", (folder_ / "dongle").string(), "--rate", "15"});
  sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos; });
  const struct {
    std::vector<std::string> arguments;
    int exitCode;
    std::string words;
  } cases[] = {
      {{"ports"}, 0, "* Bluegiga Bluetooth Low Energy (COM7)  \\\\.\\COM7, free"},
      {{"info"}, 0, "KVXGR00018 (right), serial number 18"},
      {{"send", "GetModuleMap"}, 0, "2:KVXGL00017:KVXGR00018"},
      {{"send", "Nonsense"}, 16, "no reply"},
      {{"settings", "new", "--write"}, 0, "Wrote new"},
      {{"settings", "new"}, 0, "No errors"},
      {{"record", "--frames", "9", "--format", "npy", "--output", "run", "--log", "logs"}, 0, "9 frames"},
      {{"plot", "run"}, 0, "run.svg"},
      {{"record", "--frames", "9", "--output", "run"}, 5, "already"},
      {{"record", "--sim"}, 2, "on Linux only"},
      {{"sim"}, 2, "on Linux only"},
  };
  for (const auto& [arguments, exitCode, words] : cases) {
    const auto result = run(arguments);
    EXPECT_EQ(result.exitCode, exitCode) << testing::PrintToString(arguments) << result.messages;
    EXPECT_NE((result.output + result.messages).find(words), std::string::npos)
        << testing::PrintToString(arguments) << result.output << result.messages;
  }
  std::size_t logs = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder_ / "logs")) {
    logs += entry.path().extension() == ".log";
  }
  EXPECT_EQ(logs, 2U) << "of the hardware object and of its link";
}

TEST_F(Windows, ErrorsOfDongleAndGlovesAreReported)
{
  const auto record = [&] { return run({"record", "--frames", "9", "--output", "run.csv", "--force"}); };
  const auto expect = [&](int exitCode, const std::string& words) {
    const auto result = record();
    EXPECT_EQ(result.exitCode, exitCode) << words << result.messages;
    EXPECT_NE(result.messages.find(words), std::string::npos) << words << result.messages;
    EXPECT_FALSE(fs::exists(folder_ / "run.csv"));
  };
  expect(11, "disappeared");  // listed, but missing
  setPort("/");               // fails to open, as does a port that is in use
  expect(11, "can't be opened");
  setPort(folder_ / "dongle");

  const struct {
    std::vector<std::string> options;
    int exitCode;
    std::string words;
  } cases[] = {
      {{"--firmware", "1.3.9.200"}, 12, "1.4.2.130"},
      {{"--gloves", "left"}, 13, "Expected: 2; detected: 1"},
      {{"--sensor", "right palm 249"}, 14, "Palm"},
  };
  for (const auto& [options, exitCode, words] : cases) {
    std::vector<std::string> all{"sim", "--port", (folder_ / "dongle").string()};
    all.insert(all.end(), options.begin(), options.end());
    Tessel sim(simulator_, all);
    sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos; });
    expect(exitCode, words);
  }
}

TEST_F(Windows, UnpluggingTheDongleEndsARecordingAndKeepsItsRecords)
{
  Tessel sim(simulator_,
             {"sim", "--port", (folder_ / "dongle").string(), "--rate", "15", "--at", "6 unplug"});
  sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos; });
  const auto result = run({"record", "--output", "run.csv"});
  EXPECT_EQ(result.exitCode, 15) << result.messages;
  EXPECT_GT(recordedRows(folder_, "run.csv").size(), 10U);
}

}  // namespace
