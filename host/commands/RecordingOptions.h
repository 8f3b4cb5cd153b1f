// The options of every command that records gloves, wherever the records go.
#pragma once

#include <filesystem>

#include "host/commands/LayoutOption.h"
#include "host/commands/LslStreaming.h"
#include "host/gloves/HardwareSource.h"
#include "host/session/Session.h"

namespace CLI {
class App;
}

struct RecordingOptions {
  HardwareOptions hardware;
  SessionRules rules{.limits = {.seconds = {}, .records = {}, .isPatient = true}};
  LayoutOption layout;
  bool acceptsAnyGlove = false;
  std::filesystem::path markers;  // of a FIFO; empty: none
  std::filesystem::path capture;  // empty: none is kept
  bool isUncaptured = false;
  LslOptions lsl;
  bool isJson = false;
  bool showsMemory = false;
};

// `options` receives the values and must outlive parsing.
void addRecordingOptions(CLI::App& command, RecordingOptions& options);
