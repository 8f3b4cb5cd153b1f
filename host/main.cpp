// `tessel`: the command line host of the plug-in.

#include <cstdio>
#include <exception>
#include <locale>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/MemoryReserve.h"
#include "host/base/System.h"
#include "host/commands/Program.h"

namespace {

int fail(ExitCode code, const std::string& what, const std::string& advice,
         const std::vector<std::string>& details = {})
{
  std::fflush(stdout);
  console::report("tessel: {}\n", what);
  for (const std::string& detail : details) {
    console::report("        - {}\n", detail);
  }
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
  try {
    return static_cast<int>(runCommandLine(count, arguments));
  } catch (const Failure& failure) {
    return fail(failure.code(), failure.what(), failure.advice(), failure.details());
  } catch (const std::bad_alloc&) {
    const Failure failure = outOfMemory();
    return fail(failure.code(), failure.what(), failure.advice());
  } catch (const std::exception& error) {
    return fail(ExitCode::internal, error.what(), "");
  }
}

}  // namespace

int main(int count, char** arguments)
try {
  host::reserveMemory();
  host::openStandardStreams();
  setCharacterSet();
  const int code = run(count, arguments);
  if (code != 0 || (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)) return code;
  return fail(ExitCode::output, "standard output could not be written completely.",
              "The disk may be full, or the reading program may have ended.");
} catch (...) {
  return static_cast<int>(ExitCode::internal);  // not even enough memory for a message
}
