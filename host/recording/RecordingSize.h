// What a recording takes on its disk. Throws only std::bad_alloc.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

// Of the recording that gets this name, with its metadata and events, while it grows and afterwards. Empty
// while there is none, and for a device, a pipe or standard output.
std::optional<std::uint64_t> recordingBytes(const std::filesystem::path& recording);
