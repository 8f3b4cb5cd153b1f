// Shows the progress of a recording on standard error: on a terminal one line that is redrawn, otherwise a
// new line every few seconds.
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
  // Fits into a line of this many columns.
  std::string text(const RecordingFigures& figures, unsigned width) const;

  const Layout& layout_;
  const RecordingLimits limits_;
  const bool isTerminal_;
  bool hasLine_ = false;
  Recorder::Time next_;
};
