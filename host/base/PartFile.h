// An output that is being written, such as a recording. Until it is complete its name is the requested one
// plus ".part", so an incomplete output is never mistaken for a complete one.
// Threads: one. Errors: a Failure.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "host/base/System.h"

// Names standard output. It is never reopened, which would truncate a file that it is redirected to.
inline constexpr const char* standardOutput = "-";
bool isStandardOutput(const std::filesystem::path& path);
// For messages.
std::string outputText(const std::filesystem::path& path);

class PartFile {
 public:
  enum class Kind { file, folder };

  // Creates the ".part" file or folder and locks it against other runs of the program. A Failure if something
  // exists there and `replaces` is false, or if it is of the other kind. Devices and pipes are opened as is.
  PartFile(const std::filesystem::path& wanted, Kind kind, bool replaces);
  // Deletes the output unless it was kept or completed.
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  const std::filesystem::path& growing() const { return growing_; }
  const std::filesystem::path& wanted() const { return wanted_; }
  // False for a device, a pipe or standard output.
  bool hasPlace() const { return growing_ != wanted_; }

  // Whether an incomplete output stays, under its ".part" name.
  void keep(bool stays) { stays_ = stays; }
  // Renames it to the requested name. Its files must be closed.
  void settle();

 private:
  void checkPlace(const std::filesystem::path& path, bool replaces) const;
  void make();

  std::filesystem::path wanted_;
  std::filesystem::path growing_;
  const Kind kind_;
  const bool replaces_;
  bool stays_ = false;
  std::optional<host::Lock> lock_;
};
