// A recording of real processes over a pseudo terminal, and its capture replayed to another one.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"

namespace {

class ReplayedCapture : public testing::Test {
 public:
  ReplayedCapture()
  {
    ::unsetenv("TESSEL_SERIAL_PORTS");
    ::unsetenv("TESSEL_CAPTURE");
  }
  ~ReplayedCapture() override { ::unsetenv("TESSEL_SERIAL_PORTS"); }

  TemporaryFolder folder_, simulation_;
};

TEST_F(ReplayedCapture, OfLossesAndAReconnectionYieldsTheSameSamples)
{
  folder_.write("faults", "1.2 loss 1\n1.8 drop left\n");
  const auto original = runTessel(
      folder_,
      words("record --sim --scenario faults --frames 60 --output original.csv --capture run.pcapng"));
  ASSERT_EQ(original.exitCode, 0) << original.messages;
  ASSERT_NE(original.messages.find("RECORDING AGAIN"), std::string::npos) << original.messages;

  const std::string port = (simulation_ / "dongle").string();
  Tessel sim(simulation_,
             {"sim", "--replay", (folder_ / "run.pcapng").string(), "--port", port, "--speed", "3"});
  sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos; });
  ::setenv("TESSEL_SERIAL_PORTS", ("Bluegiga Bluetooth Low Energy (COM7)=" + port).c_str(), 1);
  const auto again = runTessel(folder_, words("record --frames 60 --output again.csv"));
  ASSERT_EQ(again.exitCode, 0) << again.messages;
  sim.signal(SIGINT);
  const auto replayed = sim.result();
  EXPECT_EQ(replayed.exitCode, 0) << replayed.messages;
  EXPECT_NE(replayed.output.find("Played all of the capture"), std::string::npos) << replayed.output;
  EXPECT_NE(replayed.output.find("the program did what was recorded"), std::string::npos) << replayed.output;

  // The plug-in's timestamps are of its own clock.
  const auto samplesOf = [&](const char* name) {
    Rows rows = recordedRows(folder_, name);
    for (auto& row : rows) {
      row.erase(row.begin());
    }
    return rows;
  };
  EXPECT_EQ(samplesOf("again.csv"), samplesOf("original.csv"));
}

TEST_F(ReplayedCapture, ThatCanNotBePlayedIsRefused)
{
  folder_.write("run.csv", "time_ms,left_0\n");
  const struct {
    const char* arguments;
    int exitCode;
    const char* message;
  } cases[] = {
      {"sim --replay run.csv", 6, "run.csv is no capture."},
      {"sim --replay missing", 6, "the capture missing can't be read."},
      {"sim --replay run.csv --loss 2", 2, "--loss and --replay can't be used together."},
      {"sim --replay run.csv --control", 2, "--control and --replay can't be used together."},
      {"sim --speed 2", 2, "--speed requires --replay."},
  };
  for (const auto& [arguments, exitCode, message] : cases) {
    const auto result = runTessel(folder_, words(arguments));
    EXPECT_EQ(result.exitCode, exitCode) << message;
    EXPECT_NE(result.messages.find(message), std::string::npos) << result.messages;
  }
}

}  // namespace
