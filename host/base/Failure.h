// A failed command of `tessel`: one line that says what happened, further lines if it was several things, one
// that says what to do, and an exit code that scripts can distinguish.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/base/ExitCode.h"

class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& what, std::string advice, std::vector<std::string> details = {})
      : std::runtime_error(what), code_(code), advice_(std::move(advice)), details_(std::move(details))
  {
  }

  ExitCode code() const { return code_; }
  const std::string& advice() const { return advice_; }
  const std::vector<std::string>& details() const { return details_; }

 private:
  ExitCode code_;
  std::string advice_;
  std::vector<std::string> details_;
};

inline Failure outOfMemory()
{
  return {ExitCode::internal, "there is not enough memory.",
          "End other programs and try again. `tessel plot` needs as much memory as the recording has."};
}
