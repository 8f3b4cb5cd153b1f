// Runs the built program as a process, in a separate folder.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

class Tessel {
 public:
  struct Result {
    int exitCode;  // 128 plus the signal if it was killed
    std::string output, messages;
  };

  // Starts it with `folder` as its working directory. `command` may replace the program.
  Tessel(const TemporaryFolder& folder, std::vector<std::string> arguments,
         std::vector<std::string> command = {TESSEL_PROGRAM});
  // Kills it if it still runs.
  ~Tessel();
  Tessel(const Tessel&) = delete;
  Tessel& operator=(const Tessel&) = delete;

  void signal(int number) const;
  // Waits until the condition holds or the run has ended.
  void waitUntil(const std::function<bool()>& condition);
  Result result();
  std::string output() const { return folder_.read("stdout"); }

 private:
  bool hasEnded();

  const TemporaryFolder& folder_;
  pid_t process_;
  int status_ = 0;
  bool ended_ = false;
};

// The words of a command line, none of which has a space; behind a space at its end is an empty one.
std::vector<std::string> words(const std::string& line);

inline Tessel::Result runTessel(const TemporaryFolder& folder, std::vector<std::string> arguments)
{
  return Tessel(folder, std::move(arguments)).result();
}
