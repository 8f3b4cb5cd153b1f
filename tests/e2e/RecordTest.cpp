// `tessel record` as users run it: real processes, real pseudo terminals.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"

namespace {

class Record : public testing::Test {
 public:
  Record() { ::unsetenv("TESSEL_SERIAL_PORTS"); }

  std::size_t lineCount(const std::string& name) const
  {
    const std::string text = folder_.read(name);
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  }

  TemporaryFolder folder_;
};

TEST_F(Record, EveryElementOfEveryFrameIsWhatTheGlovesSent)
{
  PtyGloves gloves(folder_ / "dongle");
  const auto result = runTessel(folder_, words("record --frames 400 --output two.csv --json"));
  ASSERT_EQ(result.exitCode, 0) << result.messages;
  EXPECT_NE(result.output.find("\"frames\": 400"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find("\"battery\": 0.75"), std::string::npos) << result.output;
  expectSent(recordedRows(folder_, "two.csv"), 400);
}

TEST_F(Record, SignalsEndItCleanly)
{
  const struct {
    int first;
    std::vector<int> further;  // repeated until it has ended
    std::string limit;
    int exitCode;
  } cases[] = {{SIGINT, {}, "", 0},
               {SIGTERM, {}, " --seconds 60", 130},
               {SIGHUP, {SIGHUP}, "", 0},
               {SIGHUP, {SIGTERM}, "", 0},
               {SIGINT, {SIGTERM, SIGHUP}, "", 0}};
  for (const auto& [first, further, limit, exitCode] : cases) {
    std::filesystem::remove(folder_ / "run.csv");
    std::filesystem::remove(folder_ / "run.json");
    Tessel tessel(folder_, words("record --sim --output run.csv" + limit));
    tessel.waitUntil([&] { return lineCount("run.csv.part") > 20; });
    const std::size_t before = lineCount("run.csv.part");
    tessel.signal(first);
    tessel.waitUntil([&, &signals = further] {
      for (const int signal : signals) {
        tessel.signal(signal);
      }
      return false;
    });
    EXPECT_EQ(tessel.result().exitCode, exitCode) << first;
    EXPECT_GE(recordedRows(folder_, "run.csv").size() + 1, before);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "run.csv.part"));
  }
}

TEST_F(Record, ASecondCtrlCEndsItAtOnceEvenIfTheOutputIsBlocked)
{
  const std::string fifo = folder_ / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const int reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK);
  ::fcntl(reader, F_SETPIPE_SZ, 4096);
  Tessel tessel(folder_, words("record --sim --output fifo"));
  int waiting = 0;
  tessel.waitUntil([&, unchanged = 0]() mutable {
    const int before = waiting;
    ::ioctl(reader, FIONREAD, &waiting);
    unchanged = waiting > 0 && waiting == before ? unchanged + 1 : 0;
    return unchanged == 30;  // for the time of 12 frames: a write is blocked
  });
  tessel.signal(SIGINT);
  tessel.waitUntil([&] { return folder_.read("stderr").find("second Ctrl-C") != std::string::npos; });
  tessel.signal(SIGINT);
  EXPECT_EQ(tessel.result().exitCode, 130);
  ::close(reader);
}

TEST_F(Record, BadInputIsReportedWithItsExitCode)
{
  folder_.write("file", "no dongle");
  folder_.write("empty", "");
  folder_.write("binary", std::string("\x7F\x45\x4C\x46\0\xFF\xFE\0 7 \n\x80", 13));
  folder_.write("tooMany", "TesselElementCount\t1000\nTesselNumSensors\t2\nTesselNumBleModules\t2\n");
  folder_.write(
      "auxiliary",
      "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\nTesselAuxCount\t3847\n");
  folder_.write("huge", "TesselElementCount\t2000000000\n");
  folder_.write("oldFirmware", "0 firmware 1.3.0.1");
  folder_.write("noGloves", "0 hide both");
  std::filesystem::create_symlink("nowhere", folder_ / "link");
  const std::string ports = "Bluegiga Bluetooth Low Energy (COM7)=";
  const struct {
    std::string arguments;
    int exitCode;
    std::string text, port = {};  // in place of a simulated one
  } cases[] = {
      {"", 10, "none of the paths in it exists. Its value: " + ports + "/nowhere", "/nowhere"},
      {"", 11, "no serial port", (folder_ / "file").string()},
      {" --sim --scenario oldFirmware", 12, "1.4.2.130"},
      {" --sim --scenario noGloves --wait 0", 13, "heard: no Bluetooth device"},
      {" --plugin nowhere.so", 4, "can't be read"},
      {" --plugin file", 4, "can't be loaded"},
      {" --plugin " TESSEL_NO_PLUGIN, 4, "does not export `create`"},
      {" --settings nowhere", 3, "no settings file"},
      {" --settings empty", 3, "sets nothing"},
      {" --settings binary", 3, "not a setting"},
      {" --settings tooMany --sim", 3, "fewer elements"},
      {" --settings huge", 3, "nothing can be recorded"},
      {" --settings auxiliary --sim", 3, "1 to 4096 elements"},
      {" --output file", 5, "already"},
      {" --output nofolder/run.csv --sim", 5, "create it"},
      {" --output /dev/full --sim", 5, "disk is full"},
      {" --markers m --output -", 2, "--markers has no effect"},
      {" --markers file --sim", 5, "the name is taken"},
      {" --markers link --sim", 5, "the name is taken"},
      {" --markers nofolder/m --sim", 5, "No such file or directory"},
  };
  for (const auto& [arguments, exitCode, text, port] : cases) {
    if (!port.empty()) ::setenv("TESSEL_SERIAL_PORTS", (ports + port).c_str(), 1);
    const auto result = runTessel(folder_, words("record --seconds 1" + arguments));
    EXPECT_EQ(result.exitCode, exitCode) << arguments << result.messages;
    EXPECT_NE(result.messages.find(text), std::string::npos) << arguments << result.messages;
    EXPECT_EQ(folder_.list().find(".csv"), std::string::npos) << "nothing was recorded: " << folder_.list();
  }
  EXPECT_EQ(folder_.read("file"), "no dongle");
}

}  // namespace
