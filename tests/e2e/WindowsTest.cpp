// tessel.exe with HwTessel.dll under Wine, with a simulated dongle outside of it. scripts/test-windows sets
// the variables TESSEL_EXE and WINEPREFIX, and registers COM7 there as the dongle's port.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"
#include "tests/support/HttpClient.h"

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

  // Runs a program of Wine's.
  void runWine(const std::vector<std::string>& arguments) const
  {
    const auto result = Tessel(wine_, arguments, {"wine64"}).result();
    EXPECT_EQ(result.exitCode, 0) << testing::PrintToString(arguments) << result.output << result.messages;
  }

  TemporaryFolder folder_;
  TemporaryFolder simulator_;
  TemporaryFolder wine_;
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
      {{"record", "--frames", "9", "--output", "captured", "--capture", "run.pcapng"}, 0, "9 frames"},
      {{"trace", "run.pcapng"}, 0, "cmd gap_connect_direct"},
      {{"doctor", "--seconds", "1", "--report", "doctor.tar"}, 0, "gloves can be recorded"},
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

TEST_F(Windows, ErrorsOfThePortAreReported)
{
  const auto expect = [&](const std::string& words) {
    const auto result = run({"record", "--frames", "9", "--output", "run.csv", "--wait", "2"});
    EXPECT_EQ(result.exitCode, 11) << words << result.messages;
    EXPECT_NE(result.messages.find(words), std::string::npos) << words << result.messages;
    EXPECT_FALSE(fs::exists(folder_ / "run.csv"));
  };
  expect("disappeared");  // listed, but missing
  setPort("/");           // fails to open, as does a port that is in use
  expect("can't be opened");
}

TEST_F(Windows, ALivePageShowsARecordingAndMarksIt)
{
  Tessel sim(simulator_, {"sim", "--port", (folder_ / "dongle").string(), "--rate", "15"});
  sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos; });
  Tessel recording(folder_,
                   {"record", "--view", "--port", "0", "--frames", "90", "--output", "run.csv", "--json"},
                   {"wine64", variable("TESSEL_EXE")});
  std::string messages;
  recording.waitUntil(
      [&] { return (messages = folder_.read("stderr")).find("Recording ") != std::string::npos; });
  const auto address = messages.find("http://127.0.0.1:");
  ASSERT_NE(address, std::string::npos) << messages;
  const std::uint16_t port = portOf(messages.substr(address));
  HttpClient viewer(port);
  viewer.send(viewer.request("/"));
  EXPECT_EQ(viewer.answer(), 200);
  EXPECT_NE(viewer.content.find("view.js"), std::string::npos);
  viewer.send(viewer.request("/api/state"));
  ASSERT_EQ(viewer.answer(), 200);
  const std::string token = nlohmann::json::parse(viewer.content).at("token");
  const std::string body = R"({"text":"here"})";
  viewer.send("POST /api/marker HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
              "\r\nX-Tessel-Token: " + token + "\r\nContent-Type: application/json\r\nContent-Length: " +
              std::to_string(body.size()) + "\r\n\r\n" + body);
  EXPECT_EQ(viewer.answer(), 200) << viewer.content;
  viewer.send(viewer.request("/api/stream"));
  const std::string stream = viewer.receiveAll();
  EXPECT_NE(stream.find("event: picture"), std::string::npos);
  EXPECT_NE(stream.find("\"phase\":\"ended\""), std::string::npos) << "the last state is sent";
  const auto result = recording.result();
  EXPECT_EQ(result.exitCode, 0) << result.messages;
  EXPECT_EQ(nlohmann::json::parse(result.output).at("books").at("balanced"), true) << result.output;
  EXPECT_NE(folder_.read("run.events.csv").find(",marker,,here\n"), std::string::npos);
}

TEST_F(Windows, ARecordingSurvivesTheLossOfAGloveAndOfTheDongle)
{
  const fs::path commands = simulator_ / "commands";
  ASSERT_EQ(::mkfifo(commands.c_str(), 0600), 0);
  Tessel sim(simulator_, {"sim", "--port", (folder_ / "dongle").string(), "--rate", "15", "--control"},
             {"sh", "-c", R"(exec "$0" "$@" <>commands)", TESSEL_PROGRAM});
  sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos; });
  const auto simulate = [&](const std::string& lines) { std::ofstream(commands) << lines; };

  const std::string pipe = R"(\\.\pipe\tessel-trial)";
  Tessel recording(folder_, {"record", "--frames", "300", "--output", "run.csv", "--json", "--markers", pipe},
                   {"wine64", variable("TESSEL_EXE")});
  std::size_t seen = 0;
  const auto waitFor = [&](const std::string& words) {
    std::size_t found = std::string::npos;
    recording.waitUntil(
        [&] { return (found = folder_.read("stderr").find(words, seen)) != std::string::npos; });
    ASSERT_NE(found, std::string::npos) << words << '\n' << folder_.read("stderr");
    seen = found + words.size();
  };
  const auto mark = [&](const std::string& text) { runWine({"cmd", "/c", "echo " + text + ">" + pipe}); };
  waitFor(" frames ");
  simulate("drop left\nhide left\n");
  waitFor("NOT RECORDING for");
  mark("away");
  simulate("show left\n");
  waitFor("RECORDING AGAIN");
  mark("back");
  simulate("unplug\n");
  const std::string key = R"(HKLM\System\CurrentControlSet\Enum\USB\VID_2458&PID_0001\1)";
  runWine({"reg", "export", key, "dongle.reg"});
  runWine({"reg", "delete", key, "/f"});
  waitFor("there is no USB serial port");
  runWine({"reg", "import", "dongle.reg"});
  simulate("plug\n");
  waitFor("RECORDING AGAIN");

  const auto result = recording.result();
  EXPECT_EQ(result.exitCode, 0) << result.messages;
  const auto summary = nlohmann::json::parse(result.output);
  EXPECT_EQ(summary.at("books").at("balanced"), true) << result.output;
  EXPECT_EQ(summary.at("reconnections").size(), 2U) << result.output;
  EXPECT_EQ(recordedRows(folder_, "run.csv").size(), 300U);
  const std::string events = folder_.read("run.events.csv");
  std::size_t at = 0;
  for (const std::string event : {",disconnected,left,", ",marker,,away\n", ",reconnected,",
                                  ",marker,,back\n", ",disconnected,", ",reconnected,"}) {
    at = events.find(event, at);
    ASSERT_NE(at, std::string::npos) << event << " in\n" << events;
    ++at;
  }
}

}  // namespace
