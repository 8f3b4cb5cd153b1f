// How much of a disk is used. A disk may be that of a network, and take long to answer. Throws only
// std::bad_alloc.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

// Of a file, or of all files in a folder; 0 for anything else.
std::uint64_t bytesAt(const std::filesystem::path& place);
// On the disk of the folder that a file or folder is in; empty if unknown.
std::optional<std::uint64_t> freeBytesFor(const std::filesystem::path& place);
