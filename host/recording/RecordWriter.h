// Writes records to a CSV file, a folder of NumPy arrays or an XDF file, which has metadata and events, too.
// Threads: one. Errors: a Failure; earlier records are kept.
// docs/recording.md documents the formats.
#pragma once

#include <filesystem>
#include <memory>

#include "host/recording/RecordSink.h"
#include "host/recording/RecordingMetadata.h"

enum class RecordFormat { csv, npy, xdf };

// Hands each record to the operating system at once.
class RecordWriter : public RecordSink {
 public:
  // `isComplete`: the recording has ended, and all of its records were written.
  virtual void close(bool isComplete) = 0;
};

// Creates or replaces a file, or writes into an existing folder. The metadata must outlive the writer.
std::unique_ptr<RecordWriter> makeRecordWriter(RecordFormat format, const std::filesystem::path& place,
                                               const RecordingMetadata& metadata);
