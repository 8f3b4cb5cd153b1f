// The option --layout, and which layout of the hand a command uses. Errors: a Failure with ExitCode::usage.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/gloves/HardwareSource.h"
#include "host/recording/HandLayout.h"

namespace CLI {
class App;
}

struct LayoutOption {
  std::filesystem::path file;  // empty: not given
};

// `option` receives the value and must outlive parsing.
void addLayoutOption(CLI::App& command, LayoutOption& option, const std::string& help);

// For gloves with these settings: that of the option; or layout.json next to the settings file, which is
// reported on standard error; or with --sim that of the simulated hand. Nothing if there is none of these.
std::optional<HandLayout> chooseLayout(const LayoutOption& option, const HardwareOptions& hardware,
                                       const settings::Values& settings);

// For a recording, in place of its own layout, if the option was given.
std::optional<HandLayout> givenLayout(const LayoutOption& option);
