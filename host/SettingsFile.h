// A settings file as people have it: what the plug-in will make of it, and what is wrong with it. The plug-in
// itself reads in silence whatever the file holds.
//
// Reading puts the values into the variables of Settings.h, as the plug-in does with its own.
// Threads: one. Errors: a Failure for a file that can't be read or written.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

struct SettingsFault {
  int line = 0;  // 0: it concerns the file as a whole
  std::string what;
};

struct SettingsReport {
  // Texts that the plug-in reads otherwise than they were meant, line by line.
  std::vector<SettingsFault> faults;
  // Values that are read well, and lead to a recording that is hardly wanted.
  std::vector<std::string> doubts;
  // The line of the value that counts, for each key that the file gives.
  std::map<std::wstring, int> lines;

  bool isClean() const { return faults.empty() && doubts.empty(); }
};

// The faults, at most so many of them, and the doubts; a line for each.
std::vector<std::string> faultLines(const SettingsReport& report, std::size_t maxFaults);

// Reads a file over the variables as they are, which at the start of the program are the defaults.
SettingsReport readSettings(const std::filesystem::path& file);

// Elements of a glove's frame of 14 packets.
inline constexpr int elementsOfGlove = 125;

// A settings file for so many gloves, with a comment for each setting. Sets the variables accordingly.
std::string settingsText(int gloves);
