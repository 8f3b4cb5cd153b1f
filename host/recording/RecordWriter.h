// Writes records to a CSV file or to a folder of NumPy arrays.
// Threads: one. Errors: a Failure; earlier records are kept.
#pragma once

#include <filesystem>
#include <memory>

#include "host/recording/Layout.h"
#include "host/recording/Record.h"

enum class RecordFormat { csv, npy };

class RecordWriter {
 public:
  virtual ~RecordWriter() = default;

  // Hands one record, with all elements of the layout, to the operating system.
  virtual void add(const Record& record) = 0;
  virtual void close() = 0;
};

// Creates or replaces a file, or writes into an existing folder.
std::unique_ptr<RecordWriter> makeRecordWriter(RecordFormat format, const std::filesystem::path& place,
                                               const Layout& layout);
