// An output that is being written, such as a recording. Until it is complete its name is the requested one
// plus ".part", so an incomplete output is never mistaken for a complete one.
// Threads: one. Errors: a Failure.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/Disk.h"
#include "host/base/System.h"

// Names standard output. It is never reopened, which would truncate a file that it is redirected to.
inline constexpr const char* standardOutput = "-";
bool isStandardOutput(const std::filesystem::path& path);
// For messages.
std::string outputText(const std::filesystem::path& path);

class PartFile {
 public:
  enum class Kind { file, folder };
  // Whether what exists at a path may be replaced; null if anything of the same kind may.
  using Test = bool (*)(const std::filesystem::path& path);

  // Creates the ".part" file or folder and locks it against other runs of the program. A Failure if something
  // exists under one of the two names and may not be replaced. Devices and pipes are opened as is.
  PartFile(const std::filesystem::path& wanted, Kind kind, bool replaces, Test isReplaceable = nullptr,
           Disk& disk = Disk::ofSystem());
  // Deletes the output unless it was kept or completed.
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  const std::filesystem::path& growing() const { return growing_; }
  const std::filesystem::path& wanted() const { return wanted_; }
  // False for a device, a pipe or standard output.
  bool hasPlace() const { return growing_ != wanted_; }

  struct Names {
    std::filesystem::path wanted, growing;  // the same for a device, a pipe or standard output
  };
  // With the targets of symbolic links.
  static Names namesOf(const std::filesystem::path& wanted, Kind kind);
  // Fails as the constructor would, and changes nothing.
  static void check(const std::filesystem::path& wanted, Kind kind, bool replaces,
                    Test isReplaceable = nullptr);
  // Fails if something took the requested name meanwhile.
  void checkWanted() const;

  // Replaces the whole content: a reader sees the old or the new one, also when the program was killed; after
  // a crash of the system if the disk is not Disk::unforced().
  void replaceContent(std::string_view content, Disk& disk);

  // Whether an incomplete output stays, under its ".part" name.
  void keep(bool stays) { stays_ = stays; }
  // Waits until the disk has its content; of a folder that of all files in it.
  void store() const;
  // Renames it to the requested name, once the disk has the content, and waits until it has the name. Its
  // files must be closed.
  void settle();

 private:
  void make();

  std::filesystem::path wanted_;
  std::filesystem::path growing_;
  const Kind kind_;
  const bool replaces_;
  const Test isReplaceable_;
  Disk& disk_;
  bool stays_ = false;
  std::optional<host::Lock> lock_;
};
