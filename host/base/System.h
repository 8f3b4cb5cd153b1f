// What the program needs of the operating system: posix/ or windows/ is built in.
// Errors: as told at each; nothing else throws but for memory.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <system_error>

namespace host {

// Keeps other runs of the program off a file or folder that is there, as long as it lives.
class Lock {
 public:
  explicit Lock(const std::filesystem::path& path);
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  // False if another run has it, or has it made impossible.
  bool isHeld() const { return isHeld_; }

 private:
  std::intptr_t handle_ = -1;
  bool isHeld_ = false;
};

// Marks a folder of this user's as in use, by a locked file in it. The system ends the lock with the process,
// however that ends, and the file stays: a folder that can be locked then is one that was left.
// A folder that is a link, or another user's, is never locked.
class FolderLock {
 public:
  enum class Kind { fresh, left };  // makes the file, or wants one that is there

  FolderLock(const std::filesystem::path& folder, Kind kind);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  bool isHeld() const { return isHeld_; }

 private:
  std::intptr_t handle_ = -1;
  bool isHeld_ = false;
};

// An empty file, where nothing was.
std::error_code createFile(const std::filesystem::path& path);
// Renames a file or folder to a name that nothing bears.
std::error_code renameNew(const std::filesystem::path& from, const std::filesystem::path& to);

// Sees to it that standard input, output and error are something, so that no other file gets their place.
void openStandardStreams();

// Where the running program lies.
std::filesystem::path programFolder();

// What waits on standard input, up to some thousand characters. Nothing both while there is none and at its
// end.
std::string waitingInput();

bool isTerminal(std::FILE* stream);
// False while a text would have to wait, for a reader or a person who holds the terminal.
bool takesText(std::FILE* stream);
// Columns of the terminal; 80 if it does not tell.
unsigned terminalWidth(std::FILE* stream);

// Time on a clock that never steps and goes on while the computer sleeps.
std::chrono::nanoseconds uptime();

// The most memory that the process has had resident, in KiB.
std::uint64_t peakMemoryKiB();

void setEnvironment(const char* name, const std::string& value);

// From its making on, the first request to end the program (Ctrl-C, SIGTERM, a closed terminal) calls the
// function on a thread of its own instead of ending the process. Further ones change nothing, except that a
// second Ctrl-C ends the process at once. Make it before any other thread, and only one at a time. A reader
// that goes away, or a file that may not grow, shows as a failed write and not as a signal.
class StopSignals {
 public:
  explicit StopSignals(std::function<void()> onInterrupt);
  // No call is under way any more once it is gone.
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

 private:
  struct Watch;
  std::unique_ptr<Watch> watch_;
};

}  // namespace host
