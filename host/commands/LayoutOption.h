// The option --layout. Errors: a Failure with ExitCode::usage.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "host/recording/HandLayout.h"

namespace CLI {
class App;
}

// `file` receives the value and must outlive parsing.
void addLayoutOption(CLI::App& command, std::filesystem::path& file, const std::string& help);

// For a recording, in place of its own layout, if the option was given.
std::optional<HandLayout> givenLayout(const std::filesystem::path& file);
