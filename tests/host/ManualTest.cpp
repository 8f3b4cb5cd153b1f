// The man pages and the completion, of a made-up command line, and what the README has in common with them.

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "host/base/EnvironmentVariables.h"
#include "host/base/ExitCode.h"
#include "host/commands/CommandLine.h"
#include "host/manual/Completion.h"
#include "host/manual/ManualPage.h"
#include "host/manual/Roff.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace command_line;

// A command line with each kind of value.
class Manual : public testing::Test {
 public:
  Manual()
  {
    tessel_.name("tessel");
    tessel_.set_help_flag("--help", "Help");
    CLI::App& grip = addCommand(tessel_, "grip", "Holds a \\thing. Then lets go.");
    addPath(grip, "THING", "THING", path_, "what to hold").required();
    addChoice(grip, "--hand,-n", "left|right [left]", {"left", "right"}, ignore_, "Which hand");
    addNumber(
        grip, "--force", "NEWTON", {.lowest = 0, .highest = 9}, [](double) {}, "'Force', see `tessel -x`");
    addPath(grip, "--input", "FILE", path_, ".csv file").completeFiles({"csv", "part"});
    addPath(grip, "--log", "FOLDER", path_, "Log");
    addFlag(grip, "--hidden", flag_, "Not shown").get()->group("");
    setNotes(grip,
             "Units:  N, and\n"
             "        .5 N\n"
             "Examples:\n"
             "  tessel grip a-b\n"
             "  tessel grip c    holds `c`\n"
             "'Twas\n"
             "Note: held.");
    CLI::App& drop = addCommand(tessel_, "drop", "Drops.");
    addFlag(drop, "--at-once", flag_, "At once");
  }

  // What bash proposes for the last of the words, with the options that it is told to complete files by.
  std::string completed(const std::string& words)
  {
    std::ifstream function(TESSEL_COMPLETION);
    const std::string script{std::istreambuf_iterator<char>(function), {}};
    folder_.write("script",
                  "compopt() { printf '(%s)' \"$*\"; }\n" + completionTable(tessel_) + script +
                      "set -u\nCOMP_WORDS=(tessel " + words +
                      ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_tessel\necho \"${COMPREPLY[*]}\"\n");
    const std::string command = "cd '" + folder_.path().string() + "' && bash script >out 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return folder_.read("out");
  }

  TemporaryFolder folder_;
  CLI::App tessel_{"Does things."};
  std::filesystem::path path_;
  bool flag_ = false;
  TextTaker ignore_ = [](const std::string&) {};
};

TEST_F(Manual, APageHasAllThatTheHelpHas)
{
  const std::string grip = manualPage(*tessel_.get_subcommand("grip"), "tessel 1.2.3");
  for (const char* part :
       {R"(.TH tessel\-grip 1 "" "tessel 1.2.3" "HwTessel")", "tessel\\-grip \\- holds a \\(rsthing\n",
        "\\fBtessel grip\\fR [\\fIOPTION\\fR]... \\fITHING\\fR\n.SH DESCRIPTION\nHolds a \\(rsthing. Then",
        ".PP\n\\(aqTwas Note: held.\n.SS Units\n.nf\nN, and\n\\&.5 N\n.fi\n.SH "
        "ARGUMENTS\n.TP\n\\fITHING\\fR\nwhat",
        "\\fB\\-n\\fR, \\fB\\-\\-hand\\fR \\fBleft\\fR|\\fBright\\fR [\\fBleft\\fR]\nWhich hand\n.TP\n",
        "\\(aqForce\\(aq, see \\fBtessel \\-x\\fR\n", "\\fIFILE\\fR\n\\&.csv file\n",
        ".SH EXAMPLES\n\\fBtessel grip a\\-b\\fR\n.TP\n\\fBtessel grip c\\fR\nholds \\fBc\\fR\n.SH EXIT"}) {
    EXPECT_NE(grip.find(part), std::string::npos) << part << grip;
  }
  EXPECT_EQ(grip.find("hidden"), std::string::npos);
  const std::string page = manualPage(tessel_, "tessel 1.2.3");
  for (const char* part :
       {".SH COMMANDS\n.TP\n\\fBtessel\\-grip\\fR(1)\nHolds a", ".TP\n\\fB10\\fR\nno dongle\n",
        ".SH ENVIRONMENT\n.TP\n\\fBTESSEL_SERIAL_PORTS\\fR\n"}) {
    EXPECT_NE(page.find(part), std::string::npos) << part << page;
  }
}

TEST_F(Manual, BashCompletesWhatIsExpectedNext)
{
  for (const char* file : {"a.csv", "b.csv.part", "c.txt"}) {
    folder_.write(file, "");
  }
  const struct {
    const char* words;
    const char* proposed;
  } cases[] = {
      {"''", "grip drop"},
      {"gr", "grip"},
      {"-", "--help"},
      {"drop ''", "--help --at-once"},
      {"drop --at-once --a", "--at-once"},
      {"grip ''", "(-o default)"},
      {"grip -", "--help --hand --force --input --log"},
      {"grip thing ''", "--help --hand --force --input --log"},
      {"grip --hand ''", "left right"},
      {"grip -n r", "right"},
      {"grip --hand =", "left right"},
      {"grip --hand = r", "right"},
      {"grip --hand = right --f", "--force"},
      {"grip --hand right ''", "(-o default)"},
      {"grip --force ''", ""},
      {"grip --force --i", ""},
      {"grip --log ''", "(-o dirnames)"},
      {"grip --input ''", "(-o default)(-o filenames -o plusdirs)a.csv b.csv.part"},
      {"grip --input b", "(-o default)(-o filenames -o plusdirs)b.csv.part"},
      {"grip --hidd", ""},
      {"unknown --hand ''", "--help"},
  };
  for (const auto& [words, proposed] : cases) {
    EXPECT_EQ(completed(words), std::string(proposed) + "\n") << words;
  }
}

// What people read is what the tables say.
TEST(Readme, ListsTheExitCodesAndTheEnvironmentVariables)
{
  std::ifstream file(TESSEL_README);
  const std::string readme{std::istreambuf_iterator<char>(file), {}};
  std::string codes = "\n| code | meaning |\n|---|---|\n";
  for (int number = 0; number <= maxExitCode; ++number) {
    const char* const text = meaning(static_cast<ExitCode>(number));
    if (text != nullptr) codes += "| " + std::to_string(number) + " | " + text + " |\n";
  }
  std::string variables = "\n| variable | meaning |\n|---|---|\n";
  for (const environment::Variable& variable : environment::variables) {
    variables += std::string("| `") + variable.name + "` | " + variable.meaning + " |\n";
  }
  EXPECT_NE(readme.find(codes + "\n"), std::string::npos) << "expected in README.md:" << codes;
  EXPECT_NE(readme.find(variables + "\n"), std::string::npos) << "expected in README.md:" << variables;
}

}  // namespace
