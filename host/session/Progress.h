// Shows on standard error how a recording goes: its figures, or that the gloves are away.
#pragma once

#include <string>

#include "host/base/StatusLine.h"
#include "host/session/Recorder.h"

class Progress {
 public:
  Progress(const Layout& layout, const RecordingLimits& limits);

  void show(const RecordingFigures& figures);
  // The gloves are lost, at this second of the recording, and will be waited for.
  void sayLost(double second, const std::string& reason, double secondsToWait);
  // `state`: what is known of them.
  void showWaiting(double seconds, double secondsLeft, const std::string& state);
  void sayBack(double second, double seconds, unsigned attempts);
  // The disk does not have all that was recorded.
  void sayNotStored(double second, const std::string& reason);
  void sayMarker(double second, const std::string& text);
  void end() { line_.end(); }

 private:
  // Fits into a line of this many columns.
  std::string text(const RecordingFigures& figures, unsigned width) const;

  const Layout& layout_;
  const RecordingLimits limits_;
  StatusLine line_;
};
