// `tessel`: records, looks and diagnoses; the host of the plug-in for people at a terminal.

#include <cstdio>
#include <exception>
#include <locale>

#include <fmt/core.h>

#include "host/Commands.h"

namespace {

int fail(ExitCode code, const std::string& what, const std::string& advice)
{
  std::fflush(stdout);
  fmt::print(stderr, "tessel: {}\n", what);
  if (!advice.empty()) fmt::print(stderr, "        {}\n", advice);
  return static_cast<int>(code);
}

// Settings and logs are text in the user's character set. Only the characters: with the rest of the locale
// numbers would get separators for thousands.
void useCharactersOfTheUser()
{
  try {
    std::locale::global(std::locale(std::locale::classic(), "", std::locale::ctype));
  } catch (const std::runtime_error&) {
    // A locale that is not installed: plain ASCII does.
  }
}

}  // namespace

int main(int count, char** arguments)
{
  useCharactersOfTheUser();
  CLI::App tessel("Records tactile gloves, simulated or real, looks at them and finds out what is wrong.");
  tessel.name("tessel");
  tessel.require_subcommand(1);
  tessel.footer(
      "Start with:  tessel record --sim --seconds 5 --output first.csv\n"
      "             tessel plot first.csv\n"
      "Each subcommand has a --help with an example.");

  ExitCode exitCode = ExitCode::done;
  addRecord(tessel, exitCode);
  addPlot(tessel, exitCode);
  addSim(tessel, exitCode);
  addInfo(tessel, exitCode);
  addPorts(tessel, exitCode);
  addSend(tessel, exitCode);
  addSettings(tessel, exitCode);
  try {
    tessel.parse(count, arguments);
  } catch (const CLI::ParseError& error) {
    // The library itself only says that a subcommand is missing.
    if (count > 1 && arguments[1][0] != '-' && tessel.get_subcommands().empty()) {
      return fail(ExitCode::usage, fmt::format("there is no command `{}`.", arguments[1]),
                  "See: tessel --help");
    }
    const int code = tessel.exit(error);
    return code == 0 ? 0 : static_cast<int>(ExitCode::usage);
  } catch (const Failure& failure) {
    return fail(failure.code(), failure.what(), failure.advice());
  } catch (const std::exception& error) {
    return fail(ExitCode::internal, error.what(), "");
  }
  return static_cast<int>(exitCode);
}
