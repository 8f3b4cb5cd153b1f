// `tessel`: records, looks and diagnoses; the host of the plug-in for people at a terminal.

#include <cstdio>
#include <exception>
#include <locale>
#include <new>

#include "host/base/Console.h"
#include "host/base/System.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"

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

// Takes the command line and does what it says. What goes wrong has been reported when it returns.
int run(int count, char** arguments)
{
  CLI::App tessel("Records tactile gloves, simulated or real, looks at them and finds out what is wrong.");
  tessel.name("tessel");
  tessel.require_subcommand(0, 1);
  tessel.set_help_flag("--help,-h", "Print this help");
  tessel.set_version_flag("--version", "tessel " TESSEL_VERSION, "Print the version");
  tessel.footer(
      "Start with:  tessel record --sim --seconds 5 --output first.csv\n"
      "             tessel plot first.csv\n"
      "Each command has a --help with an example.");

  ExitCode exitCode = ExitCode::done;
  addRecord(tessel, exitCode);
  addPlot(tessel, exitCode);
  addSim(tessel, exitCode);
  addInfo(tessel, exitCode);
  addPorts(tessel, exitCode);
  addSend(tessel, exitCode);
  addSettings(tessel, exitCode);
  try {
    command_line::run(tessel, count, arguments);
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
