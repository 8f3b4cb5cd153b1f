// Reads a recording in CSV: a header line, then a line for each record. The header is
// `time_ms,arrival_ms,plugin_ms,left_frame,left_ticks,...,left_0,left_1,...`, or in recordings of version 1
// `time_ms,left_0,left_1,...`, where the time is the plug-in's.
// A last line without a newline is skipped, because it is incomplete.
#pragma once

#include <filesystem>

#include "host/recording/Recording.h"

Recording readCsv(const std::filesystem::path& path);
