// The command line options of a simulation, for every subcommand that runs one.
#pragma once

#include <CLI/CLI.hpp>

#include "host/SimulatedGloves.h"

// `options` gets what the user gives, and must outlive the parsing.
void addSimulationOptions(CLI::App& command, SimulationOptions& options);
