// Shared by the readers of all formats: limits, checks and errors.
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/base/Limits.h"
#include "host/recording/Layout.h"

inline constexpr std::size_t maxGroups = 16;

// Of a recording that a kill or a failure cut short.
inline constexpr const char* incompleteNote = "it was not completed; all records in its files are used";

[[noreturn]] void damagedRecording(
    const std::filesystem::path& path, const std::string& what,
    const std::string& advice = "Choose a recording of `tessel record`: a .csv or .xdf file, or a folder.");
[[noreturn]] void emptyRecording(const std::filesystem::path& path);

// In binary mode.
std::ifstream openInput(const std::filesystem::path& path);

// Appends an empty group.
void addGroup(Layout& layout, const std::filesystem::path& path, const std::string& label);

// Whether it can be a part of a file's name and of a column's.
bool isPlainLabel(const std::string& label);

// Unknown or finite, and far from any limit of the numbers.
bool isUsableTime(double ms);
