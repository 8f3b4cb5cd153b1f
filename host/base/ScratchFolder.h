// A private temporary folder, deleted with its content by the destructor. The constructor also deletes the
// folders that killed runs of this user left; folders in use and any other folders stay.
#pragma once

#include <filesystem>
#include <optional>

#include "host/base/System.h"

class ScratchFolder {
 public:
  // A Failure if no temporary folder can be created.
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  std::optional<host::FolderLock> lock_;
};
