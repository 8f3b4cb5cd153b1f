// What a failure of the plug-in to open the gloves means for the person: an exit code, and what to do.
#pragma once

#include <string>

#include "host/base/Failure.h"

// For the words that the plug-in left, of real or simulated gloves.
Failure openingFailure(const std::string& words, bool isSimulated);
