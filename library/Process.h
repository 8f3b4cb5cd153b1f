// What the library needs to know of the process that loaded it, implemented in posix/ and windows/.
// Threads: any. Throws only std::bad_alloc.
#pragma once

#include <filesystem>
#include <memory>

namespace library::process {

// This process is a child that was forked after the library was loaded: its threads do not exist here.
// Always false on Windows.
bool isForked() noexcept;

// The folder of the library's own file; empty if it is unknown.
std::filesystem::path ownFolder();

// From now on the library stays in memory, whatever the program unloads.
void pin();

// Calls the function at the regular end of the process, but not at that of a forked child, before anything is
// destroyed that exists now, of the program or of a library: what is loaded later is destroyed earlier,
// unless this is called again. One function for the whole library. Does nothing on Windows, where the other
// threads no longer run by then.
void atExit(void (*action)());

// While it exists, no signal interrupts this thread, nor the threads that it starts, for their whole life:
// the signals of the program are the program's. Nothing on Windows.
class SignalsBlocked {
 public:
  SignalsBlocked();
  ~SignalsBlocked();
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  struct Mask;
  std::unique_ptr<const Mask> earlier_;
};

}  // namespace library::process
