// How a command of `tessel` ends when it can't do what it was asked for: with a line that says what happened,
// a line that says what to do, and an exit code that a script can tell apart.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

// The README lists them. Never renumber one: scripts rely on them.
enum class ExitCode {
  done = 0,
  internal = 1,   // a fault of the program itself
  usage = 2,      // the command line, or a scenario
  settings = 3,   // a settings file that can't be read, or can't be used
  plugin = 4,     // the plug-in can't be loaded
  output = 5,     // the output can't be made, or can't be written to its end
  recording = 6,  // a recording that can't be read
  noDongle = 10,
  port = 11,          // the dongle's port can't be opened
  firmware = 12,      // of the dongle, too old
  noGloves = 13,      // fewer gloves than wanted
  gloves = 14,        // a glove was found, and could not be made ready
  silence = 15,       // the gloves or the dongle stopped while recording
  refused = 16,       // a text command that the plug-in has no answer to
  interrupted = 130,  // before what was asked for was there
};

class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& what, std::string advice)
      : std::runtime_error(what), code_(code), advice_(std::move(advice))
  {
  }

  ExitCode code() const { return code_; }
  const std::string& advice() const { return advice_; }

 private:
  ExitCode code_;
  std::string advice_;
};

// The system has no memory left for the program.
inline Failure outOfMemory()
{
  return {ExitCode::internal, "there is not enough memory.",
          "End other programs and try again. `tessel plot` needs as much memory as the recording has."};
}
