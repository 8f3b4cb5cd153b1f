// A time without the gloves, within a recording.
#pragma once

#include <string>
#include <vector>

#include "host/recording/Record.h"

struct Reconnection {
  std::string reason;
  double lostMs = Record::unknown;  // of the latest record before
  double backMs = Record::unknown;  // of the first record after; unknown: they did not come back
  unsigned attempts = 0;
  std::vector<std::string> modules = {};  // the names of the gloves that came back
};
