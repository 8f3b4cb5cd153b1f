// The command line options of a simulation, for every subcommand that runs one.
#pragma once

#include "host/gloves/SimulatedGloves.h"

namespace CLI {
class App;
}

// `options` gets what the user gives, and must outlive the parsing.
void addSimulationOptions(CLI::App& command, SimulationOptions& options);
