// The options of every command that records gloves, wherever the records go.
#pragma once

#include <filesystem>

#include "host/commands/LslStreaming.h"
#include "host/session/GloveRun.h"

namespace CLI {
class App;
}

struct RecordingOptions {
  RunOptions run;
  std::filesystem::path markers;  // of a FIFO; empty: none
  LslOptions lsl;
  bool isJson = false;
  bool showsMemory = false;
};

// `options` receives the values and must outlive parsing.
void addRecordingOptions(CLI::App& command, RecordingOptions& options);
