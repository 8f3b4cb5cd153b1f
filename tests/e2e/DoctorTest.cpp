// `tessel doctor` as users run it: real processes, a real pseudo terminal.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <deque>
#include <nlohmann/json.hpp>

#include "tests/e2e/Tessel.h"

namespace {

using Json = nlohmann::json;

std::string resultOf(const Json& report, const std::string& name)
{
  for (const Json& step : report["steps"]) {
    if (step["name"] == name) return step["result"];
  }
  return "missing";
}

TEST(Doctor, EndsWithTheExitCodeOfRecordForTheSameFault)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  const struct {
    const char* scenario;
    int exitCode;
    const char* failed;  // step; empty: none
  } rows[] = {
      {"", 0, ""},
      {"0 stay-away on", 10, "dongle"},
      {"0 busy on", 11, "dongle"},
      {"0 firmware 1.4.2.129", 12, "firmware"},
      {"0 mute on", 13, "firmware"},
      {"0 hide right", 13, "gloves"},
      {"0 sensor left thumb 249", 14, "sensors"},
  };
  // All at once, since each takes seconds, in which it mostly waits.
  struct Run {
    TemporaryFolder folder, other;
    std::optional<Tessel> doctor, record;
  };
  std::deque<Run> runs;
  for (const auto& row : rows) {
    Run& run = runs.emplace_back();
    run.folder.write("faults", row.scenario);
    const auto faults = (run.folder / "faults").string();
    run.doctor.emplace(run.folder, words("doctor --sim --seconds 1 --json --scenario " + faults));
    run.record.emplace(run.other, words("record --sim --frames 9 --wait 0 --scenario " + faults));
  }
  for (std::size_t index = 0; index < runs.size(); ++index) {
    SCOPED_TRACE(rows[index].scenario);
    const auto result = runs[index].doctor->result();
    SCOPED_TRACE(result.output + result.messages);
    EXPECT_EQ(result.exitCode, rows[index].exitCode);
    EXPECT_EQ(runs[index].record->result().exitCode, rows[index].exitCode);
    const Json report = Json::parse(result.output, nullptr, false);
    ASSERT_TRUE(report.is_object());
    const std::string failed = rows[index].failed;
    EXPECT_EQ(report["verdict"].get<std::string>().find("can't be recorded") == std::string::npos,
              failed.empty());
    if (!failed.empty()) {
      EXPECT_EQ(resultOf(report, failed), "failed");
    }
    // On a busy machine both may be warnings.
    EXPECT_EQ(resultOf(report, "frames") == "skipped", !failed.empty());
    EXPECT_NE(resultOf(report, "storage"), "skipped");
  }
}

TEST(Doctor, PacksAReportThatTarAndTheProgramRead)
{
  TemporaryFolder folder;
  folder.write("settings",
               "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\nTesselMetaData\t\"of "
               "Jane Doe\"\n");
  const auto arguments = words("doctor --sim --settings settings --seconds 1 --report report.tar");
  const auto result = runTessel(folder, arguments);
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_NE(result.messages.find("report.tar"), std::string::npos);
  ASSERT_EQ(
      std::system(("cd " + folder.path().string() +
                   " && mkdir r && tar xf report.tar -C r && grep -rl 'Jane' r > jane; ls r r/log/* > list")
                      .c_str()),
      0);
  EXPECT_EQ(folder.read("jane"), "") << "a text of the user";
  for (const char* const name : {"README.txt", "steps.json", "system.txt", "settings.txt", "dongle.pcapng",
                                 "gloves.pcapng", "BleDevice_"}) {
    EXPECT_NE(folder.read("list").find(name), std::string::npos) << name;
  }
  EXPECT_TRUE(Json::accept(folder.read("r/steps.json")));
  EXPECT_EQ(folder.read("r/dongle.pcapng").substr(0, 4), "\x0a\x0d\x0d\x0a");

  const auto again = runTessel(folder, arguments);
  EXPECT_EQ(again.exitCode, 5);
  EXPECT_NE(again.messages.find("--force"), std::string::npos) << again.messages;
}

TEST(Doctor, CtrlCEndsItAndLeavesNoReport)
{
  TemporaryFolder folder;
  Tessel doctor(folder, words("doctor --sim --report report.tar"));
  doctor.waitUntil([&] { return doctor.output().find("firmware") != std::string::npos; });
  doctor.signal(SIGINT);
  EXPECT_EQ(doctor.result().exitCode, 130);
  EXPECT_FALSE(std::filesystem::exists(folder / "report.tar"));
  EXPECT_FALSE(std::filesystem::exists(folder / "report.tar.part"));
}

}  // namespace
