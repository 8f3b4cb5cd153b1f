// Why gloves could not be opened: the plug-in's words, completed by what the operating system knows.
#pragma once

#include <string>

#include "host/base/Failure.h"

class OpeningFailure : public Failure {
 public:
  // `isTransient`: too few gloves were found, or one did not answer in time. The plug-in looks at three
  // advertisements only, so both happen by chance where there are other devices.
  OpeningFailure(ExitCode code, const std::string& what, std::string advice, bool isTransient)
      : Failure(code, what, std::move(advice)), isTransient_(isTransient)
  {
  }

  bool isTransient() const { return isTransient_; }

 private:
  bool isTransient_;
};

// `words`: of the plug-in.
OpeningFailure openingFailure(const std::string& words, bool isSimulated);
