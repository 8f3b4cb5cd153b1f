// A file that keeps a capture. It is appended to, since a capture may have several sections, and locked
// against other runs. When it can't be written it is given up: the recording goes on. Threads: `append` and
// `keepUp` one, then `store`; `problem` any. Errors: the constructor throws a Failure.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "host/base/DiskSync.h"
#include "host/base/OutputFile.h"
#include "host/base/System.h"

class CaptureFile {
 public:
  explicit CaptureFile(const std::filesystem::path& path, const SyncRules& sync = {});

  // If that fails, the file is given up.
  void append(std::span<const std::uint8_t> bytes) noexcept;
  // Several times a second: has the disk store it at its interval.
  void keepUp(std::chrono::nanoseconds now);
  // After the last piece: waits until the disk has it.
  void store();
  // Why the file was given up or can't be relied on, for the user: empty while it is complete.
  std::string problem() const;

 private:
  void setProblem(const std::string& problem);

  OutputFile file_;
  std::optional<host::Lock> lock_;
  Disk& disk_;
  std::optional<DiskSync> sync_;
  bool isGivenUp_ = false;
  mutable std::mutex mutex_;
  std::string problem_;  // guarded by the mutex
};
