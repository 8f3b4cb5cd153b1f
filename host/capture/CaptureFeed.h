// Receives the plug-in's capture while it records: makes a pipe, names it to the plug-in, and empties it on a
// thread of its own, so that neither a slow disk nor a slow receiver delays the gloves.
//
//   CaptureFeed feed(scratch.path());      // before the plug-in opens its port for the first time
//   feed.start(receiver, file);
//   ...                                    // record, close the link, unload the plug-in
//   feed.pause();                          // all that it wrote was received
//   feed.resume();                         // before a plug-in is loaded again
//
// Threads: one, except that the receiver is called on the feed's own.
// Errors: the constructor throws a Failure if there can be no pipe; a recording then does without a capture.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <mutex>
#include <span>
#include <thread>

#include "host/capture/CaptureFile.h"
#include "host/capture/CapturePipe.h"

class CaptureFeed {
 public:
  // Pieces of the capture of any size, in order.
  using Receiver = std::function<void(std::span<const std::uint8_t>)>;

  // Makes the pipe, where needed in this private folder, and sets TESSEL_CAPTURE to it.
  explicit CaptureFeed(const std::filesystem::path& folder);
  // Clears TESSEL_CAPTURE; stops without emptying the pipe unless it was paused.
  ~CaptureFeed();
  CaptureFeed(const CaptureFeed&) = delete;
  CaptureFeed& operator=(const CaptureFeed&) = delete;

  // The file, which may be null, gets the same bytes before the receiver. It must live as long as the feed.
  void start(Receiver receiver, CaptureFile* file);
  // Passes on all that the plug-in has written, then stops. Call it after the plug-in was unloaded, or at
  // least its link closed. Rethrows what the receiver threw: after that it was not called again.
  void pause();
  // For the next plug-in, which the pipe then awaits.
  void resume();

 private:
  enum class Stop { no, whenEmpty, now };

  void begin();
  void run();
  void drain(int maxPieces);
  void pass(std::span<const std::uint8_t> bytes);
  void stop(Stop kind);

  CapturePipe pipe_;
  Receiver receiver_;
  CaptureFile* file_ = nullptr;
  std::exception_ptr error_;
  std::mutex mutex_;
  std::condition_variable wake_;
  Stop stop_ = Stop::no;  // guarded by the mutex
  std::thread thread_;
};

// Removes the user's own TESSEL_CAPTURE from the environment and returns it; empty if it is not set. The
// caller uses it as the capture's file.
std::filesystem::path takeCaptureVariable();
