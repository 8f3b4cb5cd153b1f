// A private folder of the program, gone with everything in it when the object goes.
#pragma once

#include <filesystem>
#include <string>

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
};
