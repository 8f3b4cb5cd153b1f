// One step of the doctor's walk from the computer to the sample, with its result.
#pragma once

#include <string>

#include "host/base/Failure.h"

struct Step {
  enum class Result { ok, warning, failed, skipped };

  std::string name;  // for scripts: lower-case words, joined by hyphens
  Result result = Result::ok;
  std::string text;                // what was found, in one line; may contain foreign text
  std::string fix = "";            // what to do, in words and commands, of one line or more; empty if nothing
  ExitCode code = ExitCode::done;  // of a failed step: what `tessel record` would end with
};
