// A recording over several connections in virtual time: the session as `tessel record` runs it, with the
// plug-in unloaded and loaded again for each connection. Each written record is compared with the frames that
// the simulated gloves sampled, and the books with the ledger.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/session/Session.h"
#include "tests/support/VirtualGloves.h"

// Follows a session with what is written, its events, and what a listener receives.
class SessionFollower : public RecordSink, public SessionListener {
 public:
  // Before the first record. All live until the end.
  virtual void follow(const Layout& layout, const RecordKeeper& keeper, const Recorder& recorder,
                      const HostTime& time) = 0;
  void recording(const RecordingFigures&) override {}
  void lost(const Failure&, const RecordingFigures&) override {}
  void waiting(const Waiting&, const RecordingFigures&) override {}
  void back(double, unsigned, const RecordingFigures&) override {}
  void event(const RecordingEvent&) override {}
  virtual void end(const Books& books) = 0;
};

struct SessionPlan {
  std::vector<simulator::GloveConfig> gloves = VirtualGloves::leftAndRight();
  // Advertises before them, and is hidden at first. Commands know it as "stranger".
  std::optional<simulator::GloveConfig> stranger = {};
  std::vector<std::string> setup = {};  // control commands before the gloves are opened
  // In seconds after the gloves were opened first. Control commands, or
  //   stop           the user ends the recording
  //   marker TEXT    the user marks this moment
  //   port COM9      the name of the dongle's port from now on
  std::vector<VirtualGloves::Step> steps = {};
  SessionRules rules = {.limits = {.seconds = 60, .records = {}, .isPatient = true}};
  bool acceptsAnyGlove = false;
  bool isCaptured = true;
  std::uint64_t capacity = ~std::uint64_t{0};  // records that fit on the disk
  std::uint64_t seed = 1;                      // of random packet faults
  bool measuresTimes = true;                   // needs memory for each record
  SessionFollower* follower = nullptr;
};

// Of the times of one glove's frames in one connection, in ms: the largest difference from the time of
// sampling, apart from the constant delay, which is that of the first connection.
struct TimeError {
  double max = 0;
  double after5s = 0;
};

struct SessionResult {
  Ending ending;
  std::vector<RecordingEvent> events;
  std::vector<std::string> attempts;  // words of the failed ones, in order, without repetition
  std::vector<Reconnection> reconnections;
  std::array<std::vector<TimeError>, 2> timeErrors;  // by glove and connection
  Books books;
  std::uint64_t records = 0;
  std::uint64_t untimed = 0;  // records without a time
  std::string differences;    // each with its virtual time; empty if there are none
};

SessionResult record(const SessionPlan& plan);
