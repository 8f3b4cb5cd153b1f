// Reads a recording in a folder: the NumPy arrays samples.npy, time.npy, arrival.npy and stamps.npy, and
// meta.json, which describes the elements. Version 1 has no times, only the plug-in's timestamps. If the
// recording was interrupted, the arrays may hold more rows than their headers say: the file sizes decide.
#pragma once

#include <filesystem>

#include "host/recording/Recording.h"

Recording readNpy(const std::filesystem::path& folder);
