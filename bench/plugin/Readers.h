// The reader processes: a host with the built plug-in, and the baseline, which only reads the bytes. Both
// record the cost of the burst and the arrival time of each paced frame.
// Errors: std::runtime_error.
#pragma once

#include "bench/plugin/Run.h"

// Loads the plug-in and reads records as a host does. Every record must arrive, in order. The process's log
// manager and log folder must be set.
void readWithPlugin(const Plan& plan, Run& run);

// Blocking reads of 4,096 bytes. A frame has arrived with its last byte.
void readBlocks(const Plan& plan, Run& run);
