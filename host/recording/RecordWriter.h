// Where records go: a file of comma-separated values, or a folder of NumPy arrays.
// Threads: one. Errors: a Failure; the records before the one that failed are kept.
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

  // Hands one record to the system, of as many elements as the layout has.
  virtual void add(std::uint32_t stampMs, std::span<const std::uint16_t> elements) = 0;
  virtual void finish(const RecordingEnd& end) = 0;
};

// Writes into a file that may be there, or into a folder that must be.
std::unique_ptr<RecordWriter> makeRecordWriter(RecordFormat format, const std::filesystem::path& place,
                                               const Layout& layout);
