// The place of something that is being made, such as a recording. While it grows it bears the name that was
// asked for with ".part" behind it, and gets the name when it is whole; so a part never passes for a whole.
// Threads: one. Errors: a Failure.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "host/base/System.h"

// Stands for standard output wherever an output is named. It is written to as it is, not opened again, which
// would lose what it holds.
inline constexpr const char* standardOutput = "-";
bool isStandardOutput(const std::filesystem::path& path);
// As people know it.
std::string outputText(const std::filesystem::path& path);

class PartFile {
 public:
  enum class Kind { file, folder };

  // Makes the file or folder under the name that it bears while it grows, and keeps other runs of the program
  // off it. A Failure if something would be lost by that and `replaces` does not hold, or if it can't be
  // replaced: a folder where a file is wanted, a file where a folder is. A device or a pipe is written to as
  // it is.
  PartFile(const std::filesystem::path& wanted, Kind kind, bool replaces);
  // Takes away what nobody wanted to keep.
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  const std::filesystem::path& growing() const { return growing_; }
  const std::filesystem::path& wanted() const { return wanted_; }
  // False for a device, a pipe or standard output: what was written there is not there any more.
  bool hasPlace() const { return growing_ != wanted_; }

  // Whether what has grown stays, if it gets no name.
  void keep(bool stays) { stays_ = stays; }
  // Gives it the name wanted. Its files must be closed.
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
