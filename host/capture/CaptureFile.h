// A file that keeps a capture. It is appended to, since a capture may have several sections, and locked
// against other runs. When it can't be written it is given up: the recording goes on. Threads: `append` one;
// `problem` any. Errors: the constructor throws a Failure.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "host/base/OutputFile.h"
#include "host/base/System.h"

class CaptureFile {
 public:
  explicit CaptureFile(const std::filesystem::path& path);

  void append(std::span<const std::uint8_t> bytes);
  // Why the file was given up, for the user: empty while it is complete.
  std::string problem() const;

 private:
  OutputFile file_;
  std::optional<host::Lock> lock_;
  mutable std::mutex mutex_;
  std::string problem_;  // guarded by the mutex
};
