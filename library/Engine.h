// One handle's gloves: opened, read on a thread of their own, and closed.
//
//   created --start()--> opening --> connected <--> away
//                           |            |            |
//                           '------------+------------'--> ended: failed, cancelled or closed
//
// Threads: every function may be called on any thread at any time; only close() waits for the end of what
// other threads do. Errors: a Failure or an Error, also that which ended the gloves.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/base/RequestQueue.h"
#include "host/session/GloveRun.h"
#include "library/Errors.h"
#include "library/EventQueue.h"
#include "library/GlovesOptions.h"
#include "library/LiveRecording.h"
#include "library/RecordRing.h"

namespace library {

class Engine final : private RecordSink, private SessionListener {
 public:
  using Timeout = std::chrono::milliseconds;  // negative: endless

  // `closeAtExit` has the process close the gloves at its end. It is called again whenever the plug-in may
  // have made objects, so that they outlast its call.
  Engine(GlovesOptions options, std::function<void()> closeAtExit);
  ~Engine() override;
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // Begins opening, unless it has begun. Throws if settings, layout or simulation can't be used, or with
  // TESSEL_ERROR_BUSY while other gloves of this process are open.
  void start();
  // False if they are not open within the timeout. Throws what opening failed with, or what ended the gloves.
  bool waitUntilOpen(Timeout timeout);
  void cancel();
  // Ends everything; for the one who took the handle away. Throws the Failure of an incomplete recording.
  void close();

  // Once they are open, also after their end; before an Error with TESSEL_ERROR_STATE.
  tessel_shape shape() const;
  std::string description() const;
  // As tessel_read() and tessel_latest() describe it.
  tessel_status read(tessel_block* block, Timeout timeout);
  tessel_status readLatest(tessel_block* block) const;

  tessel_statistics statistics() const;
  EventQueue& events() { return events_; }
  void mark(const char* text);
  void record(const RecordOptions& options);
  void stopRecording();
  std::string send(const std::string& command);
  std::string simulate(const std::string& command);

 private:
  // What is known once the gloves are open, and then never changes.
  struct Opened {
    RecordingMetadata metadata;
    std::vector<std::string> labels;  // of the gloves
    tessel_shape shape{};
    std::unique_ptr<RecordRing> ring;
  };
  // Why the gloves ended. No exception, since each thread throws its own.
  struct Cause {
    tessel_status status = TESSEL_ERROR_INTERNAL;
    std::string text, advice;
  };

  // On the thread that reads.
  void work();
  Ending measure();
  void openPatiently(GloveConnector& gloves);
  void setState(int state);
  void noteFigures(const RecordingFigures& figures);
  void endByException();
  void note(const char* name, const std::string& detail);
  void noteOverflow();

  // RecordSink
  void add(const Record& record) override;
  // SessionListener
  void recording(const RecordingFigures& figures) override;
  void lost(const Failure& failure, const RecordingFigures& figures) override;
  void waiting(const Waiting& waiting, const RecordingFigures& figures) override;
  void back(double seconds, unsigned attempts, const RecordingFigures& figures) override;
  void event(const RecordingEvent& event) override;

  // Of the calling threads.
  std::shared_ptr<const Opened> opened() const;
  Error causeOfEnd() const;  // locked
  RecordingFigures figures() const;
  static double now(const RecordingFigures& figures);

  const GlovesOptions options_;
  const std::function<void()> closeAtExit_;
  EventQueue events_;
  MarkerQueue markers_;
  RequestQueue requests_;  // for the plug-in
  LiveRecording recording_{[this](const std::string& detail) { note("recording", detail); }};
  std::atomic<bool> stop_{false};
  std::atomic<bool> isClosed_{false};
  std::uint64_t notedOverflow_ = 0;  // this and the next one: of the thread that reads
  bool wasOverflowing_ = false;

  std::shared_mutex life_;         // exclusive in start() and close(), shared by calls that use the run
  bool isOccupying_ = false;       // the one place that a process has for gloves
  std::unique_ptr<GloveRun> run_;  // from start() to close()
  std::thread thread_;

  mutable std::mutex mutex_;  // of what follows
  std::condition_variable changed_;
  int state_ = TESSEL_CREATED;
  Cause cause_;
  std::shared_ptr<const Opened> opened_;
  RecordingFigures figures_;
};

}  // namespace library
