// A settings file as people have it: what the plug-in will make of it, and what is wrong with it. The plug-in
// itself reads in silence whatever the file holds.
//
// Nothing here touches the values that a plug-in of this process works with.
// Threads: one. Errors: a Failure for a file that can't be read or written.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "HwPlugins/HwTessel/Settings.h"

struct SettingsError {
  int line = 0;  // 0: it concerns the file as a whole
  std::string what;
};

struct SettingsReport {
  // As a plug-in that was just loaded reads them.
  settings::Values values;
  // Texts that the plug-in reads otherwise than they were meant, line by line.
  std::vector<SettingsError> errors;
  // Values that are read well, and lead to a recording that is hardly wanted.
  std::vector<std::string> warnings;
  // The line of the value that counts, for each key that the file gives.
  std::map<std::wstring, int> lines;

  bool isClean() const { return errors.empty() && warnings.empty(); }
};

// The errors, at most so many of them, and the warnings; a line for each.
std::vector<std::string> errorLines(const SettingsReport& report, std::size_t maxErrors);

SettingsReport readSettings(const std::filesystem::path& file);

// Elements of a glove's frame of 14 packets.
inline constexpr int elementsOfGlove = 125;

// The settings for so many gloves.
settings::Values valuesFor(int gloves);

// A settings file with these values, with a comment for each.
std::string settingsText(settings::Values values);
