// The command line options of a simulation, for every subcommand that runs one.
#pragma once

#include "host/gloves/SimulatedGloves.h"

namespace CLI {
class App;
}

// `options` receives the values and must outlive parsing.
void addSimulationOptions(CLI::App& command, SimulationOptions& options);
