// A recording that a program reads in blocks. Threads: any; they wait for each other. Errors: those of
// RecordReader, and an Error for a block that does not fit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "host/recording/RecordReader.h"
#include "library/include/tessel.h"

namespace library {

class OpenRecording {
 public:
  explicit OpenRecording(const std::filesystem::path& path);

  std::size_t gloves() const { return gloves_; }
  std::size_t elements() const { return elements_; }

  // The next records; false after the last one. What was read before an error is returned first, and the
  // error then, by each further call.
  bool read(tessel_block& block);

  // The JSON of tessel_describe_recording().
  std::string describe() const;

 private:
  bool readRow(tessel_block& block);

  mutable std::mutex mutex_;  // of all below
  const std::unique_ptr<RecordReader> reader_;
  const std::size_t gloves_, elements_;
  std::uint64_t records_ = 0;  // that were read
  std::vector<RecordingEvent> events_;
  bool hasEnded_ = false;
  std::exception_ptr failure_;
};

}  // namespace library
