#include "host/manual/ManualFiles.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iterator>
#include <string>

#include "host/base/Version.h"
#include "host/commands/Program.h"
#include "host/manual/Completion.h"
#include "host/manual/ManualPage.h"

namespace fs = std::filesystem;

namespace {

void write(const fs::path& path, const std::string& text)
{
  std::ofstream file;
  file.exceptions(std::ios::failbit | std::ios::badbit);
  file.open(path, std::ios::binary);
  file << text;
  file.close();
}

std::string read(const fs::path& path)
{
  std::ifstream file;
  file.exceptions(std::ios::failbit | std::ios::badbit);
  file.open(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void writePages(const CLI::App& command, const fs::path& folder)
{
  write(folder / (manualPageName(command) + ".1"), manualPage(command, programVersion));
  for (const CLI::App* const child : command.get_subcommands({})) {
    if (!child->get_group().empty()) writePages(*child, folder);
  }
}

}  // namespace

void writeManual(const fs::path& folder, const fs::path& completionFunction)
{
  ExitCode exitCode = ExitCode::done;
  const auto program = commandLine(exitCode);
  fs::create_directories(folder / "man1");
  writePages(*program, folder / "man1");
  write(folder / "tessel", completionTable(*program) + "\n" + read(completionFunction));
}
