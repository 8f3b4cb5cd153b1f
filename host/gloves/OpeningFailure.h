// Turns the plug-in's error message about opening the gloves into an exit code and advice.
#pragma once

#include <string>

#include "host/base/Failure.h"

Failure openingFailure(const std::string& words, bool isSimulated);
