// Writes records to a CSV file or to a folder of NumPy arrays.
// Threads: one. Errors: a Failure; earlier records are kept.
// docs/recording.md documents the formats.
#pragma once

#include <filesystem>
#include <memory>

#include "host/recording/Layout.h"
#include "host/recording/RecordSink.h"

enum class RecordFormat { csv, npy };

// Hands each record to the operating system at once.
class RecordWriter : public RecordSink {
 public:
  virtual void close() = 0;
};

// Creates or replaces a file, or writes into an existing folder.
std::unique_ptr<RecordWriter> makeRecordWriter(RecordFormat format, const std::filesystem::path& place,
                                               const Layout& layout);
