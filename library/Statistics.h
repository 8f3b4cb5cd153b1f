// The figures and books of the gloves in the interface's statistics.
#pragma once

#include "host/session/Recorder.h"
#include "library/include/tessel.h"

namespace library {

void addFigures(const RecordingFigures& figures, tessel_statistics& values);

}  // namespace library
