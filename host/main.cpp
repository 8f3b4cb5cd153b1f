// `tessel`: the command line host of the plug-in.

#include <cstdio>
#include <exception>
#include <locale>
#include <new>

#include "host/base/Console.h"
#include "host/base/System.h"
#include "host/base/Version.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"

namespace {

int fail(ExitCode code, const std::string& what, const std::string& advice)
{
  std::fflush(stdout);
  console::report("tessel: {}\n", what);
  if (!advice.empty()) console::report("        {}\n", advice);
  return static_cast<int>(code);
}

// Settings and logs are text in the user's character set. Only LC_CTYPE is set: LC_NUMERIC would add
// thousands separators to numbers.
void setCharacterSet()
{
  try {
    // If no locale is set, as in many scripts, UTF-8 is more likely than plain ASCII.
    const bool isPlain = std::locale("").name() == "C";
    std::locale::global(std::locale(std::locale::classic(), isPlain ? "C.UTF-8" : "", std::locale::ctype));
  } catch (const std::runtime_error&) {
    // The locale is not installed: keep plain ASCII.
  }
}

// Runs the command line. Errors have been reported when it returns.
int run(int count, char** arguments)
{
  CLI::App tessel("Records tactile gloves, simulated or real, and diagnoses problems with them.");
  tessel.name("tessel");
  tessel.require_subcommand(0, 1);
  tessel.set_help_flag("--help,-h", "Print this help");
  tessel.set_version_flag("--version", programVersion, "Print the version");
  tessel.footer(
      "Start with:  tessel record --sim --seconds 5 --output first.csv\n"
      "             tessel plot first.csv\n"
      "Each command has a --help with examples.");

  ExitCode exitCode = ExitCode::done;
  addRecord(tessel, exitCode);
  addPlot(tessel, exitCode);
  addSim(tessel, exitCode);
  addInfo(tessel, exitCode);
  addDoctor(tessel, exitCode);
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
  setCharacterSet();
  const int code = run(count, arguments);
  if (code != 0 || (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)) return code;
  return fail(ExitCode::output, "standard output could not be written completely.",
              "The disk may be full, or the reading program may have ended.");
} catch (...) {
  return static_cast<int>(ExitCode::internal);  // not even enough memory for a message
}
