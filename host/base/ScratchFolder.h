// A private folder of the program, gone with everything in it when the object goes. What a killed program
// left is taken away by the next run that makes one; a folder in use, another user's or something else's
// stays.
#pragma once

#include <filesystem>
#include <optional>

#include "host/base/System.h"

class ScratchFolder {
 public:
  // A Failure if the system's folder for such files takes none.
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  std::optional<host::FolderLock> lock_;
};
