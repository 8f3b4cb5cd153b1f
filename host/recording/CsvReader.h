// Reads a recording in CSV: a header line `time_ms,left_0,left_1,...`, then a line for each record.
// A last line without a newline is skipped, because it is incomplete.
#pragma once

#include <filesystem>

#include "host/recording/Recording.h"

Recording readCsv(const std::filesystem::path& path);
