// How `tessel` handles its command line.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "tests/e2e/Rows.h"
#include "tests/e2e/Tessel.h"

namespace {

class CommandLine : public testing::Test {
 public:
  CommandLine() { ::unsetenv("TESSEL_SERIAL_PORTS"); }

  TemporaryFolder folder_;
};

TEST_F(CommandLine, ErrorsNameTheArgumentAndThePossibleOnes)
{
  const struct {
    std::vector<std::string> arguments;
    std::string message;
    std::string help;  // the command whose help is suggested
  } cases[] = {
      {{"recrod"}, "there is no command 'recrod'; did you mean record?", "tessel"},
      {{"plt", "a"}, "there is no command 'plt'; did you mean plot?", "tessel"},
      {{"dance"}, "there is no command 'dance'.", "tessel"},
      {{"--verison"}, "there is no option '--verison'; did you mean --version?", "tessel"},
      {{"record", "--secnods", "5"},
       "there is no option '--secnods'; did you mean --seconds?",
       "tessel record"},
      {{"record", "--sec=5"}, "there is no option '--sec'; did you mean --seconds?", "tessel record"},
      {{"plot", "a", "--fore"}, "there is no option '--fore'; did you mean --force?", "tessel plot"},
      {{"record", "--colour"}, "there is no option '--colour'.", "tessel record"},
      {{"record", "-x"}, "there is no option '-x'.", "tessel record"},
      {{"record", "first", "second"}, "unexpected argument 'first'.", "tessel record"},
      {{"record", "--", "first"}, "unexpected argument 'first'.", "tessel record"},
      {{"ports", "plot"}, "unexpected argument 'plot'.", "tessel ports"},
      {{"plot"},
       "tessel plot needs RECORDING: a .csv or .xdf file or a folder of NumPy arrays, finished or not.",
       "tessel plot"},
      {{"record", "--seconds"}, "--seconds needs a value: SECONDS.", "tessel record"},
      {{"record", "-o"}, "--output needs a value: FILE|FOLDER|-.", "tessel record"},
      {{"record", "-o", "--sim"},
       "--output needs a value: FILE|FOLDER|-; '--sim' is an option.",
       "tessel record"},
      {{"record", "--output=", "--sim"}, "there is no value after '--output='.", "tessel"},
      {{"record", "--seconds", "1", "--seconds", "2"},
       "--seconds was given 2 times; use it once.",
       "tessel record"},
      {{"record", "--sim=yes"}, "--sim takes no value.", "tessel record"},
      {{"record", "--seconds", "soon"},
       "--seconds takes a number from 0.001 to 1000000000, not 'soon'.",
       "tessel record"},
      {{"record", "--seconds", "0"},
       "--seconds takes a number from 0.001 to 1000000000, not '0'.",
       "tessel record"},
      {{"record", "--seconds", "nan"},
       "--seconds takes a number from 0.001 to 1000000000, not 'nan'.",
       "tessel record"},
      {{"record", "--frames", "1.5"},
       "--frames takes a whole number from 1 to 1000000000000, not '1.5'.",
       "tessel record"},
      {{"plot", "a", "--width", "-1"},
       "--width takes a whole number from 500 to 8000, not '-1'.",
       "tessel plot"},
      {{"sim", "--left-serial", "0x11"},
       "--left-serial takes a whole number from 0 to 99999, not '0x11'.",
       "tessel sim"},
      {{"record", "--format", "xlsx"}, "--format takes csv, npy or xdf, not 'xlsx'.", "tessel record"},
      {{"record", "--format", "CVS"},
       "--format takes csv, npy or xdf, not 'CVS'; did you mean csv?",
       "tessel record"},
      {{"info", "--gloves", "lefft"},
       "--gloves takes left, right, both, 1 or 2, not 'lefft'; did you mean left?",
       "tessel info"},
      {{"send", "Identify", "--plugin", ""}, "--plugin takes the name of a file, not ''.", "tessel send"},
      {{"record", "--scenario", "a"}, "--scenario requires --sim.", "tessel record"},
      {{"record", "--gloves", "1", "--settings", "a"},
       "--settings and --gloves can't be used together.",
       "tessel record"},
  };
  for (const auto& [arguments, message, help] : cases) {
    const auto result = runTessel(folder_, arguments);
    EXPECT_EQ(result.exitCode, 2) << message;
    EXPECT_EQ(result.messages, "tessel: " + message + "\n        See: " + help + " --help\n");
    EXPECT_EQ(result.output, "") << message;
  }
}

TEST_F(CommandLine, HelpFitsATerminalAndShowsNoTypeNames)
{
  const auto plain = runTessel(folder_, {});
  EXPECT_EQ(plain.exitCode, 0);
  EXPECT_EQ(plain.output, runTessel(folder_, {"--help"}).output);
  EXPECT_EQ(plain.messages, "");
  std::vector<std::vector<std::string>> all{{"--help"}};
  for (const char* command :
       {"record", "stream", "plot", "convert", "layout", "sim", "info", "ports", "send", "settings"}) {
    EXPECT_NE(plain.output.find(std::string("\n  ") + command + " "), std::string::npos) << command;
    all.push_back({command, "--help"});
  }
  for (const auto& arguments : all) {
    const auto result = runTessel(folder_, arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.output.find("Usage: tessel"), std::string::npos) << result.output;
    std::istringstream lines(result.output);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 80U) << line;
      for (const char* word : {"TEXT ", "INT", "FLOAT", "UINT", "REQUIRED", "Excludes", "Needs"}) {
        if (arguments[0] == "send") continue;  // its argument is called TEXT
        EXPECT_EQ(line.find(word), std::string::npos) << line;
      }
    }
  }
}

TEST_F(CommandLine, TheVersionIsThatOfTheProject)
{
  EXPECT_EQ(runTessel(folder_, {"--version"}).output, "tessel " TESSEL_VERSION "\n");
}

TEST_F(CommandLine, TheOutputNameDecidesWhereARecordingGoes)
{
  const auto record = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"record", "--sim", "--frames", "5"});
    return runTessel(folder_, arguments);
  };
  EXPECT_EQ(record({"-o", "a.NPY"}).exitCode, 0);
  EXPECT_TRUE(std::filesystem::exists(folder_ / "a.NPY/samples.npy"));
  EXPECT_EQ(record({"-o", "./-", "--format", "CSV"}).exitCode, 0);
  EXPECT_EQ(recordedRows(folder_, "-").size(), 5U);
  std::filesystem::remove(folder_ / "-");

  for (const char* name : {"-", "/dev/stdout"}) {
    const auto piped = record({"-o", name});
    EXPECT_EQ(piped.exitCode, 0) << piped.messages;
    EXPECT_EQ(piped.messages.find("tessel plot"), std::string::npos) << piped.messages;
    folder_.write("piped.csv", piped.output);
    EXPECT_EQ(recordedRows(folder_, "piped.csv").size(), 5U);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "-"));
    EXPECT_EQ(record({"--json", "-o", name}).exitCode, 2);
  }
  EXPECT_EQ(record({"-o", "a.csv", "--format", "npy"}).exitCode, 2);

  const auto picture = runTessel(folder_, {"plot", "piped.csv", "-o", "-"});
  EXPECT_EQ(picture.exitCode, 0) << picture.messages;
  EXPECT_TRUE(picture.output.starts_with("<?xml") && picture.output.ends_with("</svg>\n"));
  EXPECT_EQ(runTessel(folder_, {"plot", "piped.csv", "-o", ""}).exitCode, 2);
}

TEST_F(CommandLine, RecordingToStandardOutputAppends)
{
  folder_.write("log", "earlier text\n");
  const std::string command = "cd " + folder_.path().string() +
                              " && " TESSEL_PROGRAM " record --sim --frames 3 -o - >> log 2> messages";
  EXPECT_EQ(std::system(command.c_str()), 0) << folder_.read("messages");
  EXPECT_TRUE(folder_.read("log").starts_with("earlier text\ntime_ms,arrival_ms,plugin_ms,"))
      << folder_.read("log");
}

TEST_F(CommandLine, OneGloveMayBeOfEitherOrOfARequestedSide)
{
  for (const auto& [gloves, label] : {std::pair("left", "left"), std::pair("RIGHT", "right")}) {
    const auto result =
        runTessel(folder_, {"record", "--sim", "--gloves", gloves, "--frames", "2", "-o", "-"});
    EXPECT_EQ(result.exitCode, 0) << result.messages;
    const std::string columns = "time_ms,arrival_ms,plugin_ms," + std::string(label) + "_frame," + label +
                                "_ticks," + label + "_ms," + label + "_palm_00,";
    EXPECT_TRUE(result.output.starts_with(columns)) << result.output.substr(0, 80);
    const std::string heading = result.output.substr(0, result.output.find('\n'));
    EXPECT_EQ(std::ranges::count(heading, ',') + 1, 6 + 125) << "one glove has 125 elements";
    EXPECT_EQ(folder_.list().find(".json"), std::string::npos) << "standard output has no metadata";
  }
  TemporaryFolder other;
  Tessel sim(other, {"sim", "--gloves", "right", "--port", (folder_ / "dongle").string()});
  sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos; });
  ::setenv("TESSEL_SERIAL_PORTS",
           ("Bluegiga Bluetooth Low Energy (COM7)=" + (folder_ / "dongle").string()).c_str(), 1);
  const auto wrong = runTessel(folder_, {"record", "--gloves", "left", "--frames", "2", "--wait", "0"});
  EXPECT_EQ(wrong.exitCode, 13) << wrong.messages;
  EXPECT_NE(wrong.messages.find("the glove found is KVXGR00018, a right one, not a left one;"),
            std::string::npos)
      << wrong.messages;
  EXPECT_EQ(folder_.list().find("recording"), std::string::npos) << folder_.list();
  EXPECT_EQ(runTessel(folder_, {"record", "--gloves", "1", "--frames", "2"}).exitCode, 0);
}

}  // namespace
