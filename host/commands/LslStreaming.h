// Streaming of a recording with the Lab Streaming Layer: the options, and what is done with them.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "host/recording/RecordingMetadata.h"
#include "host/session/Markers.h"
#include "host/streaming/LslMarkers.h"
#include "host/streaming/LslNetwork.h"
#include "host/streaming/StreamSink.h"

namespace CLI {
class App;
}

struct LslOptions {
  bool offersStreams = false;
  std::string markers;            // name of a stream; empty: none
  std::filesystem::path library;  // empty: the one that is found

  bool areUsed() const { return offersStreams || !markers.empty(); }
};

// `options` receives the values and must outlive parsing.
void addLslOptions(CLI::App& command, LslOptions& options);

class LslStreaming {
 public:
  // Loads the library, if it is used: a Failure if that can't be done.
  explicit LslStreaming(const LslOptions& options);

  // Once the gloves are known: offers the streams, and receives markers.
  void begin(const RecordingMetadata& metadata, MarkerQueue& markers);
  // Null without streams.
  RecordSink* sink() { return sink_ ? &*sink_ : nullptr; }
  // No more markers are received.
  void endMarkers();
  // Withdraws the streams, and reports what was not streamed or received.
  void end();

 private:
  void offer(const RecordingMetadata& metadata, StreamDescription events);

  const LslOptions& options_;
  std::optional<lsl::Library> library_;
  std::optional<LslNetwork> network_;
  std::optional<StreamSink> sink_;
  std::optional<LslMarkers> markers_;
  bool wereMarkersFound_ = true;
};
