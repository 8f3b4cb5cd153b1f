// A recording from its first connection to its end. When gloves or dongle are lost, the plug-in is unloaded
// and the gloves are opened again, until they are back or the patience ends; the recording goes on behind the
// gap.
//
//   recording --lost--> away --opened--> recording
//   recording: a limit, a stop request or another failure ends it
//   away:      the same, and the end of the patience
//
// Threads: one; while gloves are being opened, the listener's waiting() and event() are called on another
// one.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/recording/Reconnection.h"
#include "host/recording/RecordingEvents.h"
#include "host/session/GloveConnector.h"
#include "host/session/Markers.h"
#include "host/session/PatientOpening.h"
#include "host/session/RecordKeeper.h"
#include "host/session/Recorder.h"

// How a recording ended; `failure` is reported after the summary.
struct Ending {
  std::string words;
  std::optional<Failure> failure;
};

// In a handler: how the exception being handled ends the recording.
Ending endingByException();

// While the gloves are away.
struct Waiting {
  double seconds = 0;                 // since they were lost
  double secondsLeft = 0;             // until they are given up
  std::optional<Failure> failure;     // of the latest attempt, if there was one
  std::optional<HeardDevices> heard;  // since they were lost; empty without a capture
};

class SessionListener {
 public:
  virtual ~SessionListener() = default;
  // Several times a second while recording.
  virtual void recording(const RecordingFigures& figures) = 0;
  virtual void lost(const Failure& failure, const RecordingFigures& figures) = 0;
  // Several times a second while the gloves are away.
  virtual void waiting(const Waiting& waiting, const RecordingFigures& figures) = 0;
  virtual void back(double seconds, unsigned attempts, const RecordingFigures& figures) = 0;
  virtual void event(const RecordingEvent& event) = 0;
};

struct SessionRules {
  RecordingLimits limits;
  double reconnectSeconds = 60;  // 0: the loss of the gloves ends the recording
};

class Session {
 public:
  // All must outlive it.
  Session(GloveConnector& gloves, Recorder& recorder, RecordKeeper& keeper, MarkerQueue& markers,
          SessionListener& listener, const SessionRules& rules, HostTime time = HostTime::real());

  // Records from this connection and those that replace it. Throws std::bad_alloc if there is not even
  // memory for the reason why it ends.
  Ending run(RecordSource& first, const std::atomic<bool>& stop);

  // After the last record was written: what it could not note before. Throws what the listener throws.
  void noteRest();

 private:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  Ending record(RecordSource& first, const std::atomic<bool>& stop);
  bool isAway() const;
  Ending endedBy(bool isAtLimit) const;
  void whileRecording(const RecordingFigures& figures, std::uint64_t& notedStalls);
  std::optional<Ending> reconnect(const Failure& loss, RecordSource*& source, const std::atomic<bool>& stop);
  void noteLost(const Failure& loss);
  Ending giveUp(const Failure& latest);
  void noteBack();
  bool noteMarkers();
  void noteStalls(const Stalls& stalls, std::uint64_t& noted);
  void noteEvent(double timeMs, std::string_view event, std::string glove, std::string detail);
  double msOf(Time time) const;
  double secondsAway() const;

  GloveConnector& gloves_;
  Recorder& recorder_;
  RecordKeeper& keeper_;
  MarkerQueue& markers_;
  SessionListener& listener_;
  const SessionRules rules_;
  const HostTime time_;
  std::vector<Reconnection>& reconnections_;  // among the recorder's figures
  Time awaySince_{0};
  bool isOpen_ = false;  // again, after the latest loss
};
