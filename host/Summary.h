// What a recording came to, for people and as JSON.
#pragma once

#include <filesystem>
#include <string>

#include "host/Recorder.h"

struct RecordingSummary {
  const Layout& layout;
  const RecordingFigures& figures;
  std::filesystem::path place;  // empty if nothing was kept
  std::string ending;           // why it ended, in words
  ExitCode exitCode;
};

std::string summaryText(const RecordingSummary& summary);
std::string summaryJson(const RecordingSummary& summary, bool showsMemory);
