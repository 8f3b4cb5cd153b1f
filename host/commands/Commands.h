// The subcommands of `tessel`, one source file each. Each function adds a command with its options, help and
// callback; the callback runs the command and sets the exit code or throws a Failure.
#pragma once

#include "host/base/Failure.h"

namespace CLI {
class App;
}

void addRecord(CLI::App& tessel, ExitCode& exitCode);
void addStream(CLI::App& tessel, ExitCode& exitCode);
void addView(CLI::App& tessel, ExitCode& exitCode);
void addSim(CLI::App& tessel, ExitCode& exitCode);
void addInfo(CLI::App& tessel, ExitCode& exitCode);
void addSend(CLI::App& tessel, ExitCode& exitCode);
void addDoctor(CLI::App& tessel, ExitCode& exitCode);
void addPorts(CLI::App& tessel, ExitCode& exitCode);
void addSettings(CLI::App& tessel, ExitCode& exitCode);
void addPlot(CLI::App& tessel, ExitCode& exitCode);
void addLayout(CLI::App& tessel, ExitCode& exitCode);
void addConvert(CLI::App& tessel, ExitCode& exitCode);
void addTrace(CLI::App& tessel, ExitCode& exitCode);
