// Events of a recording: what happened apart from its records, in a CSV file of its own.
// Threads: one. Errors: a file of events that can't be used is a note of the recording, never a Failure.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/recording/Record.h"

// At a time of the records.
struct RecordingEvent {
  double timeMs = Record::unknown;
  std::string event;
  std::string glove;  // its label; empty: all
  std::string detail;
};

// The file with this suffix that belongs to a CSV file of records: "run.json" to "run.csv" or "run".
std::filesystem::path companionOf(std::filesystem::path records, std::string_view suffix);
// The same; while the records grow, the names of both end in ".part". That of a recording whose end a crash
// cut short may have its name already.
std::filesystem::path existingCompanionOf(std::filesystem::path records, std::string_view suffix);

// The events of this file, if there is one, by time; first those without one.
std::vector<RecordingEvent> readEvents(const std::filesystem::path& path, std::vector<std::string>& notes);
