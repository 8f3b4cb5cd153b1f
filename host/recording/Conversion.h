// A recording in another format, or a table of its samples: record by record, in memory that does not grow
// with it. The output is there only when it is complete. Threads: one. Errors: a Failure of the reader or
// the writer; then there is no output.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/recording/HandLayout.h"
#include "host/recording/RecordTable.h"
#include "host/recording/RecordWriter.h"

struct Conversion {
  std::filesystem::path from;
  std::filesystem::path to;  // "-": standard output
  std::variant<RecordFormat, TableKind> format;
  // Only records from the first time on and before the second, in seconds of the recording's time.
  double fromSeconds = -std::numeric_limits<double>::infinity();
  double toSeconds = std::numeric_limits<double>::infinity();
  std::vector<std::string> regions = {};  // only their elements; empty: all elements
  std::optional<HandLayout> hands = {};   // in place of the recording's own
  bool replaces = false;                  // an existing output
  // Called for each record with the progress from 0 to 1. May throw to end the conversion.
  std::function<void(double progress)> onProgress = [](double) {};
};

struct ConversionResult {
  std::uint64_t records = 0;
  std::vector<std::string> notes;  // of the recording: what could not be read
  std::string lost;                // what the output can't hold; empty: nothing
};

ConversionResult convert(const Conversion& conversion);
