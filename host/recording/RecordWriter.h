// Writes records to a CSV file or to a folder of NumPy arrays.
// Threads: one. Errors: a Failure; earlier records are kept.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

#include "host/recording/Layout.h"

enum class RecordFormat { csv, npy };

struct RecordingEnd {
  std::string words;                // why it ended
  std::uint64_t backwardSteps = 0;  // of the timestamps
};

class RecordWriter {
 public:
  virtual ~RecordWriter() = default;

  // Hands one record, with all elements of the layout, to the operating system.
  virtual void add(std::uint32_t timestampMs, std::span<const std::uint16_t> elements) = 0;
  virtual void finish(const RecordingEnd& end) = 0;
};

// Creates or replaces a file, or writes into an existing folder.
std::unique_ptr<RecordWriter> makeRecordWriter(RecordFormat format, const std::filesystem::path& place,
                                               const Layout& layout);
