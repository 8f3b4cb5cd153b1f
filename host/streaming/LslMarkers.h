// Receives the markers of another program's LSL stream while it exists: looks for the stream until it
// appears, and again whenever it is lost. Samples of several channels, or of numbers, become one text.
// Threads: constructed and destroyed by one, receives on its own. Errors: std::system_error; afterwards none.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "host/streaming/LslLibrary.h"

class LslMarkers {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()
  using Taker = std::function<void(Time time, std::string_view text)>;

  // The library must outlive it. `own`: the source ids of this program's own streams, which are not received.
  // `take` is called on the receiving thread.
  LslMarkers(const lsl::Library& library, std::string name, std::vector<std::string> own, Taker take);
  // Takes up to a second.
  ~LslMarkers();
  LslMarkers(const LslMarkers&) = delete;
  LslMarkers& operator=(const LslMarkers&) = delete;

  // The stream was found at least once.
  bool wasFound() const { return wasFound_; }

 private:
  using Stream = std::unique_ptr<lsl::Info, void (*)(lsl::Info*)>;

  void run();
  std::vector<Stream> streamsFoundBy(lsl::Resolver* resolver) const;
  void receive(lsl::Resolver* resolver, lsl::Info* info);

  const lsl::Library& library_;
  const std::string name_;
  const std::vector<std::string> own_;
  const Taker take_;
  std::atomic<bool> wasFound_{false};
  std::atomic<bool> isOver_{false};
  std::thread thread_;
};
