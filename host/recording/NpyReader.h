// Reads a recording in a folder of NumPy arrays, as docs/recording.md documents them. Version 1 has no times,
// only the plug-in's timestamps. If the recording was interrupted, the arrays may hold more rows than their
// headers say: the file sizes decide.
#pragma once

#include <filesystem>
#include <memory>

#include "host/recording/RecordReader.h"

std::unique_ptr<RecordReader> openNpy(const std::filesystem::path& folder);
