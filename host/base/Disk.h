// What forces files and folders to the disk: the system, or in tests a replacement.
// Threads: any, but each handle one at a time. Errors: that of the system. None where there is nothing to
// force: for pipes, devices, and file systems without a disk.
#pragma once

#include <filesystem>
#include <memory>
#include <system_error>

class Disk {
 public:
  // Of an open file or folder. It reports every write that failed since it was opened.
  class Handle {
   public:
    virtual ~Handle() = default;
    // Waits until the disk has what was written before: of a file the content, of a folder the names.
    virtual std::error_code sync() = 0;
  };

  virtual ~Disk() = default;
  // Never null; what can't be opened fails to sync.
  virtual std::unique_ptr<Handle> open(const std::filesystem::path& path) = 0;

  static Disk& ofSystem();
  // Leaves it to the system when the disk gets what is written.
  static Disk& unforced();
};

// A Failure with ExitCode::output if the disk does not have it in the end.
void storeAt(Disk& disk, const std::filesystem::path& path);
// The same for the name of a file or folder.
void storeNameAt(Disk& disk, const std::filesystem::path& path);

class Failure;
Failure notStored(const std::filesystem::path& path, const std::error_code& reason);
