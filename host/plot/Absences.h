// The times for which gloves were away while the recording went on, from its events.
#pragma once

#include <string>
#include <vector>

#include "host/recording/Recording.h"

struct Absence {
  double from;  // seconds of the recording
  double to;
  std::string glove;  // empty if several were away
};

// In order. The last one may end with the recording.
std::vector<Absence> absencesOf(const Recording& recording);
