// What a recording reports while it runs: to the user, and in its metadata and events.
#pragma once

#include <string>

#include "host/session/Progress.h"
#include "host/session/Session.h"

class RecordingFiles;

class RecordingReport final : public SessionListener {
 public:
  // All must outlive it. `files`: they must have begun; null without a file.
  RecordingReport(const Layout& layout, const SessionRules& rules, RecordingFiles* files);

  void recording(const RecordingFigures& figures) override;
  void lost(const Failure& failure, const RecordingFigures& figures) override;
  void waiting(const Waiting& waiting, const RecordingFigures& figures) override;
  void back(double seconds, unsigned attempts, const RecordingFigures& figures) override;
  void event(const RecordingEvent& event) override;
  // What follows on standard error is printed below the progress.
  void end() { progress_.end(); }

 private:
  void keepUp(const RecordingFigures& figures);
  std::string stateOf(const Waiting& waiting) const;

  const Layout& layout_;
  RecordingFiles* const files_;
  const double patience_;  // seconds
  Progress progress_;
};
