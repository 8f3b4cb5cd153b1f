// What viewers see of a recording, between the thread that reads the gloves and the server's.
// Threads: the constructor and what `RecordSink`, `SessionListener` and the functions below them declare are
// for the thread that reads the gloves, and while it waits for them for the one that waits, never at the same
// time. That thread never waits: where the server's is reading, what it has is handed over with the next
// record. `LiveSource` is for the server's thread.
// Errors: the constructor throws std::system_error if there can be no thread that asks the disk; otherwise
// throws only std::bad_alloc.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/base/System.h"
#include "host/live/LiveSource.h"
#include "host/recording/RecordSink.h"
#include "host/recording/RecordingMetadata.h"
#include "host/session/PatientOpening.h"
#include "host/session/Session.h"

// What is known before the gloves are opened.
struct LiveFacts {
  std::string command;         // "view", "record", "stream"
  std::filesystem::path file;  // where the records go; empty: none is written
  RecordingLimits limits;
  double reconnectSeconds = 0;
  bool canMark = true;  // whether markers are taken
};

class LiveBoard final : public RecordSink, public SessionListener, public LiveSource {
 public:
  using Time = std::chrono::nanoseconds;
  using Clock = std::function<Time()>;

  explicit LiveBoard(LiveFacts facts, Clock clock = host::uptime);
  ~LiveBoard() override;
  LiveBoard(const LiveBoard&) = delete;
  LiveBoard& operator=(const LiveBoard&) = delete;

  void arrived(Time time, std::span<const std::uint16_t> elements) override;
  void begin(Time zero) override;
  void add(const Record& record) override;

  void recording(const RecordingFigures& figures) override;
  void lost(const Failure& failure, const RecordingFigures& figures) override;
  void waiting(const Waiting& waiting, const RecordingFigures& figures) override;
  void back(double seconds, unsigned attempts, const RecordingFigures& figures) override;
  void event(const RecordingEvent& event) override;

  // An attempt to open the gloves for the first time failed.
  void openingFailed(const FailedAttempt& attempt);
  // The gloves are open.
  void opened(const RecordingMetadata& metadata);
  // The disk failed to store what was recorded. It stays so, whatever it stores later.
  void notStored(const Failure& failure);
  // The gloves are no longer read, and what follows takes its time: that they fall silent means nothing.
  void closing();
  // All is over, or ended before it began; `figures` are null then.
  void ended(const std::string& words, ExitCode code, const RecordingFigures* figures);

  std::uint64_t layoutVersion() override;
  std::string layout() override;
  std::string state() override;
  std::string picture() override;
  std::string history() override;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};
