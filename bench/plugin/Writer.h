// The writer process: a dongle with two gloves on a pseudo terminal, simulated until the reader is ready,
// then a source of prepared bytes.
// Errors: std::system_error.
#pragma once

#include "bench/plugin/Run.h"

void writeFrames(const Plan& plan, Run& run);
