// Events of a recording: what happened apart from its records, in a CSV file of its own.
// Threads: one. Errors: a file of events that can't be used is a note of the recording, never a Failure.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "host/recording/Record.h"
#include "host/recording/Recording.h"

// At a time of the records.
struct RecordingEvent {
  double timeMs = Record::unknown;
  std::string event;
  std::string glove;  // its label; empty: all
  std::string detail;
};

// The file with this suffix that belongs to a CSV file of records: "run.json" to "run.csv" or "run".
std::filesystem::path companionOf(std::filesystem::path records, std::string_view suffix);

// Adds the events of this file, if there is one, to a recording whose times are known.
void addEvents(Recording& recording, const std::filesystem::path& path);
