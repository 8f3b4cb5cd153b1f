// Reads a recording that is a text: a heading `time_ms,left_0,left_1,...`, then a line for each record.
// A last line without an end is left out: it is still being written, or never was.
#pragma once

#include <filesystem>

#include "host/recording/Recording.h"

Recording readCsv(const std::filesystem::path& path);
