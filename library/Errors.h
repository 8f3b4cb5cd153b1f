// The errors of the C interface: a status for the caller's code and, for each thread, the words of the latest
// one. Threads: any.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "host/base/Failure.h"
#include "library/include/tessel.h"

namespace library {

// A failed call with a status that the program `tessel` has no exit code for.
class Error : public std::runtime_error {
 public:
  Error(tessel_status status, const std::string& what, std::string advice)
      : std::runtime_error(what), status_(status), advice_(std::move(advice))
  {
  }

  tessel_status status() const { return status_; }
  const std::string& advice() const { return advice_; }

 private:
  tessel_status status_;
  std::string advice_;
};

// Of a null pointer: "`gloves` is null." The name is that of tessel.h, in backticks.
Error nullArgument(const char* name);

// In a handler: notes the exception being handled as this thread's latest error, and returns its status.
// Needs no memory, so it succeeds when there is none.
tessel_status noteError() noexcept;

// Of this thread; never null. One line, which is cut if it is very long.
const char* latestText() noexcept;
const char* latestAdvice() noexcept;

}  // namespace library
