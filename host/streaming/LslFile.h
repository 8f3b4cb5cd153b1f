// The file of the LSL library, loaded at run time: found in the folder of the program or among the system's
// libraries, but never in the working folder. It is never unloaded, since its threads may outlive its
// streams.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lsl_file {

// Names of the library on this system, the preferred one first.
extern const std::vector<std::string> names;

// Each returns null, with the system's reason.
void* load(const std::filesystem::path& file, std::string& reason);
// One of the system's libraries; `reason` is empty if there is none of this name.
void* loadInstalled(const std::string& name, std::string& reason);

// Null if there is none.
void* find(void* library, const char* function);

}  // namespace lsl_file
