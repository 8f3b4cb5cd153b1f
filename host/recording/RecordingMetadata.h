// Describes a recording: everything but its records. docs/recording.md documents the JSON.
#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/recording/Layout.h"
#include "host/recording/Reconnection.h"

struct RecordingMetadata {
  struct Time {
    std::string method;                   // how the times of the records were found
    std::optional<double> residualMs;     // typical distance of the measurements from them
    std::optional<double> clockErrorPpm;  // by which the glove's clock runs fast
    std::optional<int> observedPhaseMs;   // how long frames waited for the radio, at most and usually
  };

  struct Glove {
    std::string label;   // of its elements
    std::string module;  // the advertised name
    int serialNumber = 0;
    nlohmann::ordered_json firmware;            // as `tessel info --json` prints it; null: unknown
    std::string address;                        // empty: unknown
    std::optional<double> disconnectedSeconds;  // within the recording
  };

  std::string program;  // that recorded it; empty: this one
  std::vector<Reconnection> reconnections;
  std::optional<std::chrono::system_clock::time_point> started;  // when a record's time was 0
  std::string startedLocal;                      // the same where it was recorded; empty: by this computer
  std::optional<std::chrono::nanoseconds> zero;  // the same, by host::uptime()
  Time time;
  std::vector<Glove> gloves;                                           // in the order of the records
  nlohmann::ordered_json settings = nlohmann::ordered_json::object();  // as the plug-in uses them, by key
  Layout layout;
  nlohmann::ordered_json hands;            // HandLayout::json() of the layout; null: unknown
  std::optional<double> recordsPerSecond;  // measured
  std::uint64_t records = 0;
  nlohmann::ordered_json books;      // what became of each frame, by glove; null: not counted
  std::string capture;               // the file with the bytes of the link; empty: none
  std::string ended;                 // why; empty: it has not
  nlohmann::ordered_json converted;  // from what and by what; null: it is as it was recorded
};

nlohmann::ordered_json reconnectionsJson(const std::vector<Reconnection>& reconnections);

// `events`: how many it has. `isComplete`: it ended, and all records were written.
nlohmann::ordered_json metadataJson(const RecordingMetadata& metadata, std::uint64_t events, bool isComplete);
std::string metadataText(const RecordingMetadata& metadata, std::uint64_t events, bool isComplete);

// For RecordingMetadata::started: the wall clock at a time of host::uptime().
std::chrono::system_clock::time_point wallClockAt(std::chrono::nanoseconds uptime);
