// The operations that the program needs from the operating system, implemented in posix/ and windows/.
// Errors: as described at each function; otherwise throws only std::bad_alloc.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <vector>

namespace host {

// Locks an existing file or folder against other runs of the program.
class Lock {
 public:
  explicit Lock(const std::filesystem::path& path);
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  // False if another run holds it, or if locking failed.
  bool isHeld() const { return isHeld_; }

 private:
  std::intptr_t handle_ = -1;
  bool isHeld_ = false;
};

// Marks a folder of this user as in use, by a locked file in it. The system releases the lock when the
// process ends, however it ends, and the file stays: a folder that can be locked was abandoned. A symbolic
// link, or a folder of another user, is never locked.
class FolderLock {
 public:
  enum class Kind { fresh, abandoned };  // creates the lock file, or requires an existing one
  static constexpr const char* fileName = "tessel.lock";

  FolderLock(const std::filesystem::path& folder, Kind kind);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  bool isHeld() const { return isHeld_; }

 private:
  std::intptr_t handle_ = -1;
  bool isHeld_ = false;
};

// What is in a folder, in no order; with an error, a part of it. The standard library's iterator would end
// the process if there is no memory.
std::vector<std::filesystem::path> namesIn(const std::filesystem::path& folder, std::error_code& error);
// Creates an empty file; an error if the name is taken.
std::error_code createFile(const std::filesystem::path& path);
// Renames a file or folder; an error if the new name is taken.
std::error_code renameNew(const std::filesystem::path& from, const std::filesystem::path& to);

// A file or folder, opened to force it to the disk while others write it. Also renamed or deleted meanwhile.
class SyncHandle {
 public:
  explicit SyncHandle(const std::filesystem::path& path);
  ~SyncHandle();
  SyncHandle(const SyncHandle&) = delete;
  SyncHandle& operator=(const SyncHandle&) = delete;

  // Waits until the disk has its content; on Windows it keeps the names in folders by itself. No error where
  // there is no disk: pipes, devices, and file systems that have nothing to force.
  [[nodiscard]] std::error_code sync();

 private:
  std::intptr_t handle_ = -1;
  std::error_code error_;  // of opening it
};

// Overwrites the first bytes of an existing file, in one call to the system, while another stream appends to
// it. errno has the reason of a failed write.
class FileBeginning {
 public:
  explicit FileBeginning(const std::filesystem::path& path);
  ~FileBeginning();
  FileBeginning(const FileBeginning&) = delete;
  FileBeginning& operator=(const FileBeginning&) = delete;

  [[nodiscard]] bool write(std::string_view bytes);

 private:
  std::intptr_t handle_ = -1;
  int openingError_ = 0;
};

// Opens closed standard streams, so that no other file gets their descriptors.
void openStandardStreams();

// The folder of the running executable.
std::filesystem::path programFolder();

// Available standard input, up to some thousand characters. Empty both if none is available and at its end.
std::string waitingInput();

bool isTerminal(std::FILE* stream);
// False while writing would block: a full pipe, or a paused terminal.
bool takesText(std::FILE* stream);
// Columns of the terminal; 80 if unknown.
unsigned terminalWidth(std::FILE* stream);

// A monotonic clock that also advances while the computer is suspended.
std::chrono::nanoseconds uptime();

// Peak resident memory of the process.
std::uint64_t peakMemoryKiB();

// On Windows an empty value removes the variable.
void setEnvironment(const char* name, const std::string& value);
void unsetEnvironment(const char* name);
// The path in an environment variable; empty if it is not set.
std::filesystem::path environmentPath(const char* name);

// A thread that receives no signals of the process: they are for others. SIGTTIN, with which the system stops
// background processes that read their terminal, thus becomes an error of the read. std::system_error if
// there can be none.
std::thread threadWithoutSignals(std::function<void()> run);
// Where processors are scarce, the calling thread leaves them to the others of the process.
void lowerThreadPriority();

// Shows an address of the web in the user's browser, without waiting for it. False if there is none.
bool openInBrowser(const std::string& url);

// While it exists, the first request to end the program (Ctrl-C, SIGTERM, a closed terminal) calls the
// callback on a separate thread instead of ending the process. Later ones are ignored, except that a second
// Ctrl-C ends the process at once. Construct it before starting any thread, and only one at a time. A closed
// pipe or the file size limit makes a write fail instead of raising a signal. SIGUSR1 calls `onMarker` on the
// same thread, and is ignored where there is none.
class StopSignals {
 public:
  explicit StopSignals(std::function<void()> onInterrupt, std::function<void()> onMarker = {});
  // Waits until no callback is running.
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

 private:
  struct Watch;
  std::unique_ptr<Watch> watch_;
};

}  // namespace host
