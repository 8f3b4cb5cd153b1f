// Some seconds of measurement, of which nothing is kept but the figures. Threads: one.
#pragma once

#include <atomic>
#include <optional>
#include <vector>

#include "host/doctor/GloveClocks.h"
#include "host/recording/Layout.h"
#include "host/session/GloveConnector.h"
#include "host/session/Recorder.h"

struct Measurement {
  std::vector<std::string> labels;  // of the gloves
  double elementsOfGlove = 0;
  RecordingFigures figures;
  std::optional<Books> books;      // empty without a capture
  std::optional<Failure> failure;  // that ended it early
  double longestSilenceMs = 0;     // between two records
  // From the arrival of a frame's first packet, as early as it can be, to that of its record; typical
  // (median) and largest. Empty without a capture.
  std::optional<double> latencyMs, maxLatencyMs;
  // By glove, from its own clock; empty if unknown. Filled in by whom has the whole capture.
  std::vector<std::optional<ClockError>> clocks;
  std::vector<std::optional<double>> sampledPerSecond;
};

// Measures with gloves that are open, for at most these seconds, and disconnects them. `accounts`: null
// without a capture. Errors: none; what ends it early is a result.
Measurement measure(GloveConnector& gloves, RecordSource& source, const Layout& layout,
                    LiveAccounts* accounts, double seconds, const std::atomic<bool>& stop,
                    const Recorder::Clock& clock);
