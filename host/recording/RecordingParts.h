// Shared by the readers of all formats: limits, checks and errors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/base/Limits.h"
#include "host/recording/Layout.h"
#include "host/recording/Record.h"
#include "host/recording/Recording.h"

inline constexpr std::size_t maxGroups = 16;
inline constexpr std::size_t maxSamples = std::size_t{1} << 29;  // 15 hours of two gloves

[[noreturn]] void damagedRecording(
    const std::filesystem::path& path, const std::string& what,
    const std::string& advice = "Choose a recording of `tessel record`: a .csv file or a folder.");

// In binary mode.
std::ifstream openRecording(const std::filesystem::path& path);

// Appends an empty group.
void addGroup(Recording& recording, const std::filesystem::path& path, const std::string& label);

// When a record was sampled, according to its row.
struct RowTime {
  double timeMs = Record::unknown;
  double arrivalMs = Record::unknown;
  std::uint32_t pluginMs = 0;
};

// Unknown or finite, and far from any limit of the numbers.
bool isUsableTime(double ms);

// Where the time of a record is unknown, that of its arrival continues that of the previous record, or else
// the plug-in's timestamp does.
void setTimes(Recording& recording, const std::vector<RowTime>& rows);
// For recordings that have only the plug-in's timestamps: in ms, wrapping at 32 bits.
void setTimestamps(Recording& recording, const std::vector<std::uint32_t>& timestamps);
