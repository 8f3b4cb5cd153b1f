// How a recording goes, as far as it is known: what viewers are shown follows from it and from the time.
// Values: a copy is a snapshot. Texts may be foreign: they are made printable where they are sent.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/ExitCode.h"
#include "host/base/Failure.h"
#include "host/capture/Books.h"
#include "host/live/CountWindow.h"
#include "host/recording/Layout.h"

struct GloveSituation {
  std::string label, module;

  // Of the connection that the gloves had last.
  bool isOver = false;      // as the capture shows
  bool wasLost = false;     // among those whose loss ended it
  std::optional<int> rssi;  // while the gloves are away

  // Of the capture.
  std::optional<std::chrono::nanoseconds> heard;
  std::optional<double> battery;
  unsigned faultySensors = 0;
  CountWindow sent{std::chrono::seconds(2)};
  CountWindow sentLong{std::chrono::seconds(10)}, lostLong{std::chrono::seconds(10)};

  // Of the records.
  std::uint64_t gaps = 0;
  double longestGapMs = 0;
  std::optional<double> latencyMs;
};

struct SituationEvent {
  std::uint64_t number = 0;
  std::optional<double> ms, seconds;
  std::string event, glove, detail;
};

struct Situation {
  using Time = std::chrono::nanoseconds;  // of host::uptime()
  enum class Phase { opening, reading, away, ended };

  struct Problem {
    std::string text;
    bool isSerious = false;
  };
  struct Ending {
    std::string text;
    ExitCode code;
  };

  Phase phase = Phase::opening;
  std::string text;
  std::optional<Ending> ending;
  bool isAway = false;     // also at the end
  bool isClosing = false;  // the gloves are no longer read

  std::shared_ptr<const Layout> layout;  // null while unknown
  std::uint64_t layoutVersion = 1;
  std::vector<GloveSituation> gloves;

  Time connected{0};             // when the gloves were opened last
  Time read{0};                  // when it was last known that they are read
  std::optional<Time> captured;  // the latest bytes of the capture; empty without one
  std::optional<Time> arrival;   // of the latest record
  CountWindow arrivals{std::chrono::seconds(2)};

  double seconds = 0;
  std::uint64_t records = 0;
  double recordsPerSecond = 0;
  std::uint64_t losses = 0;
  double awaySeconds = 0;       // without the gloves, before they were lost last
  Time lost{0};                 // then
  std::optional<Time> givenUp;  // if they are not back by then

  std::uint64_t stalls = 0;
  double longestStall = 0, latestStall = 0;  // seconds
  std::optional<Time> stalled;               // when the latest one ended

  std::optional<Books> books;      // empty without a capture
  std::optional<Problem> opening;  // why the latest attempt failed

  std::optional<std::string> notStored;  // why, once the disk did not store all

  std::uint64_t markers = 0;
  std::uint64_t eventCount = 0;
  std::deque<SituationEvent> events;  // the latest ones

  std::vector<std::string> labels() const;
};

enum class GloveState { opening, connected, silent, lost, away };
const char* nameOf(GloveState state);

// What can be said of a glove at this time.
struct GloveView {
  GloveState state = GloveState::opening;
  std::string text;
  std::optional<double> silentSeconds;
  std::optional<double> framesPerSecond;
  std::optional<double> lostShare;  // over the last ten seconds
};
GloveView viewOf(const Situation& situation, std::size_t glove, Situation::Time now);
