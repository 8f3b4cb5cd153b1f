// Reads a settings file as the plug-in does, and reports its errors, which the plug-in ignores silently.
// Never changes the settings of a plug-in loaded in this process.
// Threads: one. Errors: a Failure for a file that can't be read.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "HwPlugins/HwTessel/Settings.h"

struct SettingsError {
  int line = 0;  // 0: the file as a whole
  std::string what;
};

struct SettingsReport {
  // As a newly loaded plug-in reads them.
  settings::Values values;
  // Text that the plug-in ignores or misreads, in the order of lines.
  std::vector<SettingsError> errors;
  // Valid values that lead to an unusable or incomplete recording.
  std::vector<std::string> warnings;
  // The line of the effective value, for each key in the file.
  std::map<std::wstring, int> lines;

  bool isClean() const { return errors.empty() && warnings.empty(); }
};

// One line for each of the first `maxErrors` errors and for each warning.
std::vector<std::string> errorLines(const SettingsReport& report, std::size_t maxErrors);

SettingsReport readSettings(const std::filesystem::path& file);

// In a frame of 14 packets.
inline constexpr int elementsOfGlove = 125;

// Default settings for this number of gloves.
settings::Values valuesFor(int gloves);

// The text of a settings file with these values and a comment for each.
std::string settingsText(settings::Values values);

// The values by their keys.
nlohmann::ordered_json settingsJson(const settings::Values& values);
