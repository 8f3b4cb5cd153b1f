// The readers' processes: a host with the built plug-in, and its baseline, which only reads the bytes. Both
// note what the burst cost them, and when each paced frame was there. Errors: std::runtime_error.
#pragma once

#include "bench/plugin/Run.h"

// Loads the plug-in and reads records as a host does. Every record must come, and in order. The process's log
// manager and log folder must be set.
void readWithPlugin(const Plan& plan, Run& run);

// Blocking reads of 4,096 bytes. A frame is there with its last byte.
void readBlocks(const Plan& plan, Run& run);
