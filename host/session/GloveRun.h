// Gloves from their first opening to their closed books, for everything that records them, whatever becomes
// of the records: the program's commands and the C library.
//
//   GloveRun   settings, layout, capture and simulated gloves are there; nothing is open
//   open()     the gloves are connected: layout and metadata are known
//   begin()    the records' sink and the listener are known
//   run()      records, over losses and reconnections, until a limit, a stop request or a failure
//   finish()   the link is closed, the last records are written, the books are closed
//
// Threads: constructed on any, then one; see Session for the listener. Errors: a Failure.
#pragma once

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/DiskSync.h"
#include "host/gloves/HardwareSource.h"
#include "host/recording/HandLayout.h"
#include "host/recording/RecordingMetadata.h"
#include "host/session/HardwareConnector.h"
#include "host/session/LinkCapture.h"
#include "host/session/Recorder.h"
#include "host/session/Session.h"

struct RunOptions {
  HardwareOptions hardware;
  SessionRules rules{.limits = {.seconds = {}, .records = {}, .isPatient = true}};
  std::filesystem::path layout;  // of the hand; empty: the one that fits the settings
  bool acceptsAnyGlove = false;  // after a loss
  bool isUncaptured = false;
  std::filesystem::path capture;                    // empty: none is kept
  SyncRules sync{.interval = defaultSyncInterval};  // of the capture and the recording
};

class GloveRun {
 public:
  explicit GloveRun(const RunOptions& options);

  // Opens the gloves by the function, which may be patient. Throws its Failure; then the run is over.
  using Opener = std::function<void(GloveConnector& gloves)>;
  void open(const Opener& opener);
  // From then on.
  const std::vector<std::string>& modules() const { return modules_; }
  const Layout& layout() const { return layout_; }
  // What is known before the first record.
  const RecordingMetadata& metadata() const { return metadata_; }

  // All must outlive the run.
  void begin(RecordSink& sink, MarkerQueue& markers, SessionListener& listener);
  Ending run(const std::atomic<bool>& stop);
  // `ending` gets the first failure, if it has none. `onProblem`: with the capture, when the books do not
  // balance.
  void finish(Ending& ending, const std::function<void(LinkCapture&)>& onProblem = {});

  HardwareSource& source() { return source_; }
  // While connected.
  Hardware& hardware() { return connector_.hardware(); }
  // Null without one.
  LinkCapture* capture() { return capture_.get(); }
  const RecordKeeper& keeper() const { return *keeper_; }
  const RecordingFigures& figures() const { return recorder_->figures(); }
  // After finish(); empty without a capture.
  const std::optional<Books>& books() const { return books_; }

 private:
  std::unique_ptr<LinkCapture> makeCapture(const RunOptions& options) const;
  void dropEmptyCapture();

  const SessionRules rules_;
  const bool acceptsAnyGlove_;
  const Notice notice_;
  HardwareSource source_;
  const std::optional<HandLayout> hands_;
  std::unique_ptr<LinkCapture> capture_;
  HardwareConnector connector_;
  std::vector<std::string> modules_;
  Layout layout_;
  RecordingMetadata metadata_;
  std::optional<RecordKeeper> keeper_;
  std::optional<Recorder> recorder_;
  std::optional<Session> session_;
  std::optional<Books> books_;
};
