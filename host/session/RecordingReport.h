// What a recording reports while it runs: to the user, in its metadata and events, and to those that follow
// it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/recording/RecordSink.h"
#include "host/session/Progress.h"
#include "host/session/Session.h"

class RecordingFiles;

class RecordingReport final : public SessionListener {
 public:
  // All must outlive it. `files`: they must have begun; null without a file. `followers` receive the events,
  // and losses as events; null if there are none. `onNotStored` is called once if the disk did not store all.
  RecordingReport(const Layout& layout, const SessionRules& rules, RecordingFiles* files,
                  RecordSink* followers, std::function<void(const Failure&)> onNotStored);

  void recording(const RecordingFigures& figures) override;
  void lost(const Failure& failure, const RecordingFigures& figures) override;
  void waiting(const Waiting& waiting, const RecordingFigures& figures) override;
  void back(double seconds, unsigned attempts, const RecordingFigures& figures) override;
  void event(const RecordingEvent& event) override;
  // After the books were closed.
  void finish(const RecordingFigures& figures) { noteLosses(figures); }
  // What follows on standard error is printed below the progress.
  void end() { progress_.end(); }

 private:
  void noteLosses(const RecordingFigures& figures);
  void keepUp(const RecordingFigures& figures);

  const Layout& layout_;
  RecordingFiles* const files_;
  RecordSink* const followers_;
  const std::function<void(const Failure&)> onNotStored_;
  std::vector<GloveBooks::Lost> noted_;  // of each glove
  const double patience_;                // seconds
  Progress progress_;
};
