// Loads the plug-in. Errors: a Failure if the file is not a plug-in.
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "shared/PluginLibrary.h"

// The plug-in in the first of these folders that has one that can be read; if none has, in the first of them.
std::filesystem::path pluginIn(const std::vector<std::filesystem::path>& folders);

// If `file` is empty, the default one: next to the program, or where the packages install it.
std::unique_ptr<plugin::Library> loadPlugin(const std::filesystem::path& file);
