// The plug-in that the program loads. Errors: a Failure if the file is not a plug-in.
#pragma once

#include <filesystem>
#include <memory>

#include "shared/PluginLibrary.h"

// The one that belongs to the program if `file` is empty: beside it, or where the packages install it.
std::unique_ptr<plugin::Library> loadPlugin(const std::filesystem::path& file);
