// `tessel`: records, looks and diagnoses; the host of the plug-in for people at a terminal.

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <locale>
#include <new>

#include "host/Commands.h"
#include "host/Console.h"
#include "host/System.h"

namespace {

int fail(ExitCode code, const std::string& what, const std::string& advice)
{
  std::fflush(stdout);
  console::tell("tessel: {}\n", what);
  if (!advice.empty()) console::tell("        {}\n", advice);
  return static_cast<int>(code);
}

// Settings and logs are text in the user's character set. Only the characters: with the rest of the locale
// numbers would get separators for thousands.
void useCharactersOfTheUser()
{
  try {
    // Where nothing else is said, and in scripts nothing is, UTF-8 is likelier than ASCII alone.
    const bool isPlain = std::locale("").name() == "C";
    std::locale::global(std::locale(std::locale::classic(), isPlain ? "C.UTF-8" : "", std::locale::ctype));
  } catch (const std::runtime_error&) {
    // A locale that is not installed: plain ASCII does.
  }
}

// Takes the command line and does what it says. What goes wrong is told by then.
int run(int count, char** arguments)
{
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
    if (error.get_exit_code() != 0)
      return fail(ExitCode::usage, error.what(), "See the options with --help.");
    console::printLines(tessel.help());
    return 0;
  } catch (const Failure& failure) {
    return fail(failure.code(), failure.what(), failure.advice());
  } catch (const std::bad_alloc&) {
    const Failure failure = outOfMemory();
    return fail(failure.code(), failure.what(), failure.advice());
  } catch (const std::exception& error) {
    return fail(ExitCode::internal, error.what(), "");
  }
  return static_cast<int>(exitCode);
}

}  // namespace

int main(int count, char** arguments)
try {
  host::openStandardStreams();
  useCharactersOfTheUser();
  const int code = run(count, arguments);
  if (code != 0 || (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)) return code;
  return fail(ExitCode::output, "standard output did not take all of it.",
              "Its disk may be full, or its reader gone.");
} catch (...) {
  return static_cast<int>(ExitCode::internal);  // no memory, not even for the words
}
