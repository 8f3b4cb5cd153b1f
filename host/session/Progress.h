// Shows a running recording on standard error: one line that is drawn anew at a terminal, a line every few
// seconds elsewhere.
#pragma once

#include <chrono>

#include "host/session/Recorder.h"

class Progress {
 public:
  Progress(const Layout& layout, const RecordingLimits& limits);
  // Ends the line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(const RecordingFigures& figures);

 private:
  // As much as fits well into a line of so many columns.
  std::string text(const RecordingFigures& figures, unsigned width) const;

  const Layout& layout_;
  const RecordingLimits limits_;
  const bool isTerminal_;
  bool hasLine_ = false;
  Recorder::Time next_;
};
