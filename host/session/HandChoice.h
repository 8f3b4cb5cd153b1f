// Which layout of the hand a recording of gloves uses. Errors: a Failure with ExitCode::usage for a layout
// that can't be used.
#pragma once

#include <filesystem>
#include <optional>

#include "HwPlugins/HwTessel/Settings.h"
#include "host/gloves/HardwareSource.h"
#include "host/recording/HandLayout.h"

// Of this file; if that is empty, layout.json next to the settings file, which is a notice; or that of the
// simulated hand, if the gloves are simulated. Nothing if there is none of these.
std::optional<HandLayout> chooseHands(const std::filesystem::path& file, const HardwareOptions& hardware,
                                      const settings::Values& settings);
