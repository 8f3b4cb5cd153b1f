// What the system's files say about serial ports, without opening one.
// Errors: throws only std::bad_alloc.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/base/posix/SystemTree.h"
#include "host/gloves/Ports.h"

// The ports that are present, with `state` left as is. `variable`: as of portsVariable().
std::vector<Port> presentPorts(const SystemTree& system, const std::optional<std::string>& variable);

// The process that holds the lock on a device, and one that has it open, as far as this user may see.
std::optional<Process> lockHolder(const SystemTree& system, const std::filesystem::path& device);
std::optional<Process> opener(const SystemTree& system, const std::filesystem::path& device);

// All of them.
std::vector<Process> processes(const SystemTree& system);
