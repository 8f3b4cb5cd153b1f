// The options of every command that records gloves, wherever the records go.
#pragma once

#include <filesystem>
#include <string>

#include "host/commands/LslStreaming.h"
#include "host/commands/ViewOptions.h"
#include "host/session/GloveRun.h"

namespace CLI {
class App;
}

struct RecordingOptions {
  std::string command;  // "record"
  RunOptions run;
  std::filesystem::path markers;  // of a FIFO; empty: none
  LslOptions lsl;
  ViewOptions view;
  bool isJson = false;
  bool showsMemory = false;
};

// `options` receives the values and must outlive parsing.
void addRecordingOptions(CLI::App& command, RecordingOptions& options);
