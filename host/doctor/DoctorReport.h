// One file with all that a walk found, to send to the authors. Threads: one. Errors: a Failure.
#pragma once

#include "host/doctor/Doctor.h"
#include "host/doctor/TarFile.h"

// Adds everything, with a text that says what each part is, and closes the file.
void writeReport(const Doctor& doctor, TarFile& file);
