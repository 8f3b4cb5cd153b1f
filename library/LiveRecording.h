// The recording of open gloves into files, which callers begin and end while the gloves are read.
//
// Threads: add(), addEvent(), keepUp() and end() on the thread that reads the gloves, begin() and stop() on
// any other. The reading thread never waits for files that are begun or completed, nor for the disk; calls of
// begin() and stop() wait for each other. Errors: as described at each function.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "host/recording/RecordSink.h"
#include "host/session/FileRecording.h"
#include "library/GlovesOptions.h"

namespace library {

class LiveRecording {
 public:
  // `onEvent` receives what becomes of recordings, on the thread that finds it out.
  using OnEvent = std::function<void(const std::string& detail)>;
  explicit LiveRecording(OnEvent onEvent) : onEvent_(std::move(onEvent)) {}

  // Throws a Failure if the files can't be made, or an Error with TESSEL_ERROR_BUSY. `keeper` must outlive
  // the last add().
  void begin(const RecordOptions& options, const RecordingMetadata& metadata, const RecordKeeper& keeper);
  // Throws a Failure if the recording is not complete, or was not when it ended by itself; an Error with
  // TESSEL_ERROR_STATE if there is none.
  void stop(const RecordingFigures& figures, const std::vector<std::string>& labels);

  // These throw nothing but std::bad_alloc: what can't be written ends the recording, not the reading.
  void add(const Record& record);
  void addEvent(const RecordingEvent& event);
  void keepUp(const RecordingFigures& figures);
  // The gloves have ended. `books`: of all that was read.
  void end(const RecordingFigures& figures, const std::vector<std::string>& labels,
           const std::optional<Books>& books, const std::string& words);

  bool isRunning() const { return isRunning_; }
  // Why a recording that ended by itself, and that nobody has stopped, is not complete; empty if it is, or if
  // there was none.
  std::optional<Failure> takeFailure();

 private:
  template <class Action>
  void write(const Action& action);
  void complete(FileRecording& files, const RecordingFigures& figures, const std::vector<std::string>& labels,
                const std::optional<Books>& books, const std::string& words);

  const OnEvent onEvent_;
  std::atomic<bool> isRunning_{false};
  std::mutex calls_;  // held for the whole of begin() and stop()
  std::mutex mutex_;  // of what follows
  std::unique_ptr<FileRecording> files_;
  bool hasEnded_ = false;           // the gloves
  bool isWaitingForStop_ = false;   // a recording that ended by itself
  std::optional<Failure> failure_;  // of it
};

}  // namespace library
