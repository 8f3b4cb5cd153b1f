// What the readers of all formats share: the bounds of a recording, its checks, its refusal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/base/Limits.h"
#include "host/recording/Layout.h"
#include "host/recording/Recording.h"

inline constexpr std::size_t mostGroups = 16;
inline constexpr std::size_t mostSamples = std::size_t{1} << 29;  // 15 hours of two gloves

[[noreturn]] void damagedRecording(
    const std::filesystem::path& path, const std::string& what,
    const std::string& advice = "Give a recording as `tessel record` made it, a .csv file or a folder.");

// Binary.
std::ifstream openRecording(const std::filesystem::path& path);

// Puts an empty group behind the others.
void addGroup(Recording& recording, const std::filesystem::path& path, const std::string& label);

// In ms; they wrap at 32 bits.
void setTimestamps(Recording& recording, const std::vector<std::uint32_t>& timestamps);
