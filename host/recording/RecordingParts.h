// Shared by the readers of all formats: limits, checks and errors.
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/base/Failure.h"
#include "host/base/Limits.h"
#include "host/recording/Layout.h"

inline constexpr std::size_t maxGroups = 16;

// Of a recording that a kill or a failure cut short.
inline constexpr const char* incompleteNote = "it was not completed; all records in its files are used";

[[noreturn]] void damagedRecording(
    const std::filesystem::path& path, const std::string& what,
    const std::string& advice = "Choose a recording of `tessel record`: a .csv or .xdf file, or a folder.");
[[noreturn]] void emptyRecording(const std::filesystem::path& path);

// The system can't read a file now, which does not mean that there is nothing in it.
struct UnreadableFile : Failure {
  UnreadableFile(const std::filesystem::path& path, const std::string& what);
};

// In binary mode. An UnreadableFile if opening fails.
std::ifstream openInput(const std::filesystem::path& path);
// False only if it does not exist.
bool isThere(const std::filesystem::path& path);
// An UnreadableFile if reading ended by an error instead of the end of the file.
void checkRead(const std::ifstream& file, const std::filesystem::path& path);

// Appends an empty group.
void addGroup(Layout& layout, const std::filesystem::path& path, const std::string& label);

// Whether it can be a part of a file's name and of a column's.
bool isPlainLabel(const std::string& label);

// Unknown or finite, and far from any limit of the numbers.
bool isUsableTime(double ms);
