// Reads a recording of any format record by record, in memory that does not grow with it. It may still be
// recorded, or be cut short by a kill: incomplete records at its end are skipped with a note.
// Threads: one. Errors: a Failure with ExitCode::recording that names the file and the place.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/recording/Record.h"
#include "host/recording/RecordingEvents.h"
#include "host/recording/RecordingMetadata.h"

class RecordReader {
 public:
  virtual ~RecordReader() = default;

  // The layout is complete at once, everything else as far as the recording has it; in formats that put it
  // at the end only after the last record.
  virtual const RecordingMetadata& metadata() const = 0;
  // Nothing after the last one. Its spans are valid until the next call.
  virtual std::optional<Record> next() = 0;
  // After the last record: as far as they can be read, by time; those without a time first.
  virtual std::vector<RecordingEvent> events() = 0;
  // For the user, after the last record: what was skipped or could not be read.
  virtual const std::vector<std::string>& notes() const = 0;
  // Its metadata say that it has ended, and that all records were written. Known after the last record.
  virtual bool isComplete() const = 0;
  // How much has been read, from 0 to 1.
  virtual double progress() const = 0;
};

// A folder is one of NumPy arrays, a file CSV or XDF, as its beginning shows.
std::unique_ptr<RecordReader> openRecording(const std::filesystem::path& path);
