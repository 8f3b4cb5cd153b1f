// Loads the plug-in. Errors: a Failure if the file is not a plug-in.
#pragma once

#include <filesystem>
#include <memory>

#include "shared/PluginLibrary.h"

// If `file` is empty, the default one: next to the program, or where the packages install it.
std::unique_ptr<plugin::Library> loadPlugin(const std::filesystem::path& file);
