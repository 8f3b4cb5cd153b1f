#include "host/commands/Program.h"

#include <CLI/CLI.hpp>

#include "host/base/Version.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"

std::unique_ptr<CLI::App> commandLine(ExitCode& exitCode)
{
  auto program = std::make_unique<CLI::App>(
      "Records tactile gloves, simulated or real, and diagnoses problems with them.");
  CLI::App& tessel = *program;
  tessel.name("tessel");
  tessel.require_subcommand(0, 1);
  tessel.set_help_flag("--help,-h", "Print this help");
  tessel.set_version_flag("--version", programVersion, "Print the version");
  tessel.footer(
      "Start with:  tessel record --sim --seconds 5 --output first.csv\n"
      "             tessel plot first.csv\n"
      "             tessel view --sim --open\n"
      "If something does not work:  tessel doctor\n"
      "Each command has a --help with examples.");
  addRecord(tessel, exitCode);
  addView(tessel, exitCode);
  addPlot(tessel, exitCode);
  addConvert(tessel, exitCode);
  addStream(tessel, exitCode);
  addSim(tessel, exitCode);
  addInfo(tessel, exitCode);
  addDoctor(tessel, exitCode);
  addPorts(tessel, exitCode);
  addSend(tessel, exitCode);
  addSettings(tessel, exitCode);
  addLayout(tessel, exitCode);
  addTrace(tessel, exitCode);
  return program;
}

ExitCode runCommandLine(int count, const char* const* arguments)
{
  ExitCode exitCode = ExitCode::done;
  command_line::run(*commandLine(exitCode), count, arguments);
  return exitCode;
}
