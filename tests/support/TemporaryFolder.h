// A folder that exists while the object lives, with file operations for tests.
#pragma once

#include <filesystem>
#include <string>

class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& path() const { return path_; }

  // The wide path with a trailing separator, as for the host's folders.
  std::wstring wide() const { return path_.wstring() + L"/"; }

  // Writes the bytes unchanged and returns the file's wide path.
  std::wstring write(const std::string& name, const std::string& content) const;
  std::string read(const std::string& name) const;

  // The names of all files, sorted.
  std::string list() const;

 private:
  std::filesystem::path path_;
};
