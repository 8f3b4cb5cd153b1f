// Deletes a folder with all that is in it, without following links.
#pragma once

#include <filesystem>
#include <system_error>

#include "host/base/System.h"

// Unlike std::filesystem::remove_all(), it does not end the process if there is no memory, and tries again
// what fails: a signal may have interrupted it. Returns the error of the second attempt. Throws only
// std::bad_alloc.
inline std::error_code removeAll(const std::filesystem::path& path)
{
  namespace fs = std::filesystem;
  std::error_code error;
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (fs::is_directory(fs::symlink_status(path, error))) {
      for (const fs::path& name : host::namesIn(path, error)) {
        removeAll(path / name);
      }
    }
    fs::remove(path, error);
    if (!error) break;
  }
  return error;
}
