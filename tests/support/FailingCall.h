// Makes one system call of a program or a function fail, or move only half of its bytes, and counts all of
// them, also those inside of libraries: the kernel stops each one and asks here what becomes of it (seccomp's
// user notification). Linux only.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

// The errors that are tried, by the family of the call.
struct CallErrors {
  const char* call;
  std::vector<int> errors;
};

constexpr int shortCount = 0;

inline std::string nameOf(int error)
{
  return error == shortCount ? "half of the bytes" : ::strerrorname_np(error);
}

// The calls are named by families: "write" is also writev and pwrite.
struct CallFault {
  std::string call;     // none fails if empty
  unsigned number = 0;  // which of them, from 1
  int error = shortCount;
};

struct WatchedRun {
  std::map<std::string, unsigned> calls;  // those of interest
  std::string failed;                     // the path of the call that failed, "-" if it has none
  std::vector<std::string> leaks;         // of interest, and still open in the end
  int status = 0;                         // of the process, as from waitpid()
  bool hasHung = false;
};

// Whether calls on this path count. Calls without a path have an empty one.
using PathTest = std::function<bool(const std::string& path)>;

// Runs a program in a new process. `prepare` is called there first. It is killed when the time is over.
WatchedRun watchProgram(const std::vector<std::string>& command, const CallFault& fault,
                        const PathTest& isOfInterest, const std::function<void()>& prepare,
                        std::chrono::seconds limit = std::chrono::seconds(20));

// Calls a function on a new thread. Neither `status` nor `hasHung`: a thread can't be ended.
WatchedRun watchFunction(const std::function<void()>& function, const CallFault& fault,
                         const PathTest& isOfInterest);
