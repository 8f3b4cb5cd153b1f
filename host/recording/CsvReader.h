// Reads a recording in CSV: a header line, then a line for each record, as docs/recording.md documents them.
// In recordings of version 1 it is `time_ms,left_0,left_1,...`, where the time is the plug-in's. A last line
// without a newline is skipped, because it is incomplete. The file of metadata next to it describes it
// further, as far as it fits the columns.
#pragma once

#include <filesystem>
#include <memory>

#include "host/recording/RecordReader.h"

std::unique_ptr<RecordReader> openCsv(const std::filesystem::path& path);
