// The summary of a recording, as text and as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <string>
#include <string_view>

#include "host/session/Recorder.h"

struct RecordingSummary {
  const Layout& layout;
  const RecordingFigures& figures;
  std::filesystem::path place;  // empty if nothing was kept
  std::string ending;           // why it ended
  ExitCode exitCode;
  std::string_view deed = "Recorded";  // what was done with the frames
};

// Several lines.
std::string summaryText(const RecordingSummary& summary);
nlohmann::ordered_json summaryJson(const RecordingSummary& summary, bool showsMemory);
