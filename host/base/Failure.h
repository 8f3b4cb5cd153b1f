// A failed command of `tessel`: one line that says what happened, one that says what to do, and an exit code
// that scripts can distinguish.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

// Documented in the README. Never renumber: scripts rely on the values.
enum class ExitCode {
  done = 0,
  internal = 1,   // an error in the program itself, or not enough memory
  usage = 2,      // the command line, or a scenario
  settings = 3,   // a settings file that can't be read or used
  plugin = 4,     // the plug-in can't be loaded
  output = 5,     // the output can't be created, or not written completely
  recording = 6,  // a recording that can't be read
  noDongle = 10,
  port = 11,          // the dongle's port can't be opened
  firmware = 12,      // the dongle's firmware is too old
  noGloves = 13,      // fewer gloves than requested
  gloves = 14,        // a glove was found, but could not be initialized
  silence = 15,       // the gloves or the dongle stopped responding while recording
  refused = 16,       // a text command that the plug-in has no reply to
  books = 17,         // what became of each frame can't be explained
  interrupted = 130,  // before the command was complete
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

inline Failure outOfMemory()
{
  return {ExitCode::internal, "there is not enough memory.",
          "End other programs and try again. `tessel plot` needs as much memory as the recording has."};
}
