// The options of every command that needs gloves.
#pragma once

#include "host/gloves/Hardware.h"

namespace CLI {
class App;
}

// `options` gets what the user enters, and must outlive the parsing.
void addHardwareOptions(CLI::App& command, HardwareOptions& options);
