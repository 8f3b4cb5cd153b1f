// Writes an archive that any `tar` reads (POSIX ustar), file by file. No names of user or group.
// The file has the suffix ".part" until close(), and is removed if that is never called.
// Errors: a Failure, also if the file already exists and may not be replaced.
#pragma once

#include <chrono>
#include <filesystem>
#include <string_view>

#include "host/base/OutputFile.h"
#include "host/base/PartFile.h"

class TarFile {
 public:
  static constexpr std::size_t maxName = 99;  // bytes

  TarFile(const std::filesystem::path& path, bool replaces);

  // The name is a relative path with "/" as separator; a Failure if it is longer than `maxName`.
  void add(std::string_view name, std::string_view bytes, std::chrono::sys_seconds modified);
  // Must be called once.
  void close();

 private:
  PartFile part_;
  OutputFile file_;
};
