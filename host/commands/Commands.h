// The subcommands of `tessel`, each in a source of its own. Adding one gives the command line its options and
// its help; its callback runs it, and leaves a Failure or sets the exit code.
#pragma once

#include "host/base/Failure.h"

namespace CLI {
class App;
}

void addRecord(CLI::App& tessel, ExitCode& exitCode);
void addSim(CLI::App& tessel, ExitCode& exitCode);
void addInfo(CLI::App& tessel, ExitCode& exitCode);
void addSend(CLI::App& tessel, ExitCode& exitCode);
void addPorts(CLI::App& tessel, ExitCode& exitCode);
void addSettings(CLI::App& tessel, ExitCode& exitCode);
void addPlot(CLI::App& tessel, ExitCode& exitCode);
