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
  const std::string seconds = "--seconds takes a number from 0.001 to 1000000000, not ";
  const struct {
    std::string arguments, message;
    bool isOfCommand = true;  // whose help is suggested
  } cases[] = {
      {"recrod", "there is no command 'recrod'; did you mean record?", false},
      {"dance", "there is no command 'dance'.", false},
      {"--verison", "there is no option '--verison'; did you mean --version?", false},
      {"record --secnods 5", "there is no option '--secnods'; did you mean --seconds?"},
      {"record --sec=5", "there is no option '--sec'; did you mean --seconds?"},
      {"record --colour", "there is no option '--colour'."},
      {"record -x", "there is no option '-x'."},
      {"record first second", "unexpected argument 'first'."},
      {"plot",
       "tessel plot needs RECORDING: a .csv or .xdf file or a folder of NumPy arrays, finished or not."},
      {"record --seconds", "--seconds needs a value: SECONDS."},
      {"record -o --sim", "--output needs a value: FILE|FOLDER|-; '--sim' is an option."},
      {"record --output= --sim", "there is no value after '--output='.", false},
      {"record --seconds 1 --seconds 2", "--seconds was given 2 times; use it once."},
      {"record --sim=yes", "--sim takes no value."},
      {"record --seconds soon", seconds + "'soon'."},
      {"record --seconds nan", seconds + "'nan'."},
      {"record --frames 1.5", "--frames takes a whole number from 1 to 1000000000000, not '1.5'."},
      {"sim --left-serial 0x11", "--left-serial takes a whole number from 0 to 99999, not '0x11'."},
      {"record --format xlsx", "--format takes csv, npy or xdf, not 'xlsx'."},
      {"record --format CVS", "--format takes csv, npy or xdf, not 'CVS'; did you mean csv?"},
      {"info --gloves lefft", "--gloves takes left, right, both, 1 or 2, not 'lefft'; did you mean left?"},
      {"send Identify --plugin ", "--plugin takes the name of a file, not ''."},
      {"record --scenario a", "--scenario requires --sim."},
      {"record --gloves 1 --settings a", "--settings and --gloves can't be used together."},
  };
  for (const auto& [arguments, message, isOfCommand] : cases) {
    const auto result = runTessel(folder_, words(arguments));
    EXPECT_EQ(result.exitCode, 2) << message;
    const std::string help = isOfCommand ? "tessel " + words(arguments)[0] : "tessel";
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
  const auto record = [&](const std::string& arguments) {
    return runTessel(folder_, words("record --sim --frames 5 " + arguments));
  };
  EXPECT_EQ(record("-o a.NPY").exitCode, 0);
  EXPECT_TRUE(std::filesystem::exists(folder_ / "a.NPY/samples.npy"));
  EXPECT_EQ(record("-o ./- --format CSV").exitCode, 0);
  EXPECT_EQ(recordedRows(folder_, "-").size(), 5U);
  std::filesystem::remove(folder_ / "-");

  for (const std::string name : {"-", "/dev/stdout"}) {
    const auto piped = record("-o " + name);
    EXPECT_EQ(piped.exitCode, 0) << piped.messages;
    EXPECT_EQ(piped.messages.find("tessel plot"), std::string::npos) << piped.messages;
    folder_.write("piped.csv", piped.output);
    EXPECT_EQ(recordedRows(folder_, "piped.csv").size(), 5U);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "-"));
    EXPECT_EQ(record("--json -o " + name).exitCode, 2);
  }
  EXPECT_EQ(record("-o a.csv --format npy").exitCode, 2);

  const auto picture = runTessel(folder_, words("plot piped.csv -o -"));
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
  for (const auto& [gloves, label] : {std::pair(std::string("left"), "left"), {"RIGHT", "right"}}) {
    const auto result = runTessel(folder_, words("record --sim --frames 2 -o - --gloves " + gloves));
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
  const auto wrong = runTessel(folder_, words("record --gloves left --frames 2 --wait 0"));
  EXPECT_EQ(wrong.exitCode, 13) << wrong.messages;
  EXPECT_NE(wrong.messages.find("the glove found is KVXGR00018, a right one, not a left one;"),
            std::string::npos)
      << wrong.messages;
  EXPECT_EQ(folder_.list().find("recording"), std::string::npos) << folder_.list();
  EXPECT_EQ(runTessel(folder_, words("record --gloves 1 --frames 2")).exitCode, 0);
}

}  // namespace
