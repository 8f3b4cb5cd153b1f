// What a short measurement says of the link and the gloves. Threads: any. Throws only std::bad_alloc.
#pragma once

#include "host/doctor/Measurement.h"
#include "host/doctor/StepList.h"

// The steps `battery`, `frames`, `losses`, `silence`, `clock` and `latency`; of a measurement without a
// record only `frames`, which then failed.
void takeMeasurementSteps(const Measurement& measurement, StepList& steps);
