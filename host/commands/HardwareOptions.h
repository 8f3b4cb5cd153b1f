// The options of every command that uses gloves.
#pragma once

#include "host/gloves/HardwareSource.h"

namespace CLI {
class App;
}

// `options` receives the values and must outlive parsing.
void addHardwareOptions(CLI::App& command, HardwareOptions& options);
