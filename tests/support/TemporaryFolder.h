// A folder that lasts as long as the object, with what tests do to files.
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

  // The wide path with a separator at its end, as the host's folders are written.
  std::wstring wide() const { return path_.wstring() + L"/"; }

  // Writes the bytes as they stand and gives the file's wide path.
  std::wstring write(const std::string& name, const std::string& content) const;
  std::string read(const std::string& name) const;

  // The names of all files, in their order.
  std::string list() const;

 private:
  std::filesystem::path path_;
};
