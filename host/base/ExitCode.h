// The exit codes of `tessel`, which scripts can distinguish. Never renumber them.
#pragma once

enum class ExitCode {
  done = 0,
  internal = 1,
  usage = 2,
  settings = 3,
  plugin = 4,
  output = 5,
  recording = 6,
  noDongle = 10,
  port = 11,
  firmware = 12,
  noGloves = 13,
  gloves = 14,
  silence = 15,
  refused = 16,
  books = 17,
  interrupted = 130,
};

inline constexpr int maxExitCode = 255;

// What users read about it, in the manual and in the README; null for a number that is no exit code. Code is
// in `backticks`.
constexpr const char* meaning(ExitCode code)
{
  switch (code) {
    case ExitCode::done:
      return "success; also when Ctrl-C ends a recording without a limit";
    case ExitCode::internal:
      return "an error in the program itself, or not enough memory";
    case ExitCode::usage:
      return "invalid command line, scenario or layout";
    case ExitCode::settings:
      return "the settings file can't be read or used; with `tessel settings`: it has errors or warnings";
    case ExitCode::plugin:
      return "the plug-in or the LSL library can't be loaded or used";
    case ExitCode::output:
      return "the output can't be created, or not written completely";
    case ExitCode::recording:
      return "the recording or capture can't be read";
    case ExitCode::noDongle:
      return "no dongle";
    case ExitCode::port:
      return "the dongle's port can't be opened: in use, no permission, or not a serial port";
    case ExitCode::firmware:
      return "the dongle's firmware is too old";
    case ExitCode::noGloves:
      return "fewer gloves than requested";
    case ExitCode::gloves:
      return "a glove was found but could not be initialized, or has faulty sensors";
    case ExitCode::silence:
      return "while recording, the gloves stopped sending, the dongle was unplugged, or the link did not "
             "survive a "
             "pause of the computer, and they did not come back in time";
    case ExitCode::refused:
      return "the plug-in has no reply to a text command";
    case ExitCode::books:
      return "the books of a recording do not balance: `tessel` cannot explain what became of each frame";
    case ExitCode::interrupted:
      return "ended by Ctrl-C or SIGTERM before the command was complete";
  }
  return nullptr;
}
