// Reads XDF files that tessel recorded.
#pragma once

#include <filesystem>
#include <memory>

#include "host/recording/RecordReader.h"

// A Failure for a file of another program, which has other streams.
std::unique_ptr<RecordReader> openXdf(const std::filesystem::path& file);
// Whether a file begins as XDF files do.
bool isXdf(const std::filesystem::path& file);
