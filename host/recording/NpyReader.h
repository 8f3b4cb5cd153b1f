// Reads a recording that is a folder: samples.npy and stamps.npy, NumPy arrays of format 1.0, and meta.json,
// which tells what the elements are. In one that was cut short the arrays hold more than their heads say: the
// sizes of the files decide.
#pragma once

#include <filesystem>

#include "host/recording/Recording.h"

Recording readNpy(const std::filesystem::path& folder);
