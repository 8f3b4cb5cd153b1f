// The first line of a recording in CSV, which names its columns. Errors: a Failure with ExitCode::recording.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/recording/Layout.h"

struct CsvHeading {
  // The columns of a glove's frames.
  struct FrameColumns {
    std::string label;
    bool hasSampled = false;
  };

  std::size_t columns = 0;
  bool hasTimes = false;  // otherwise only the plug-in's timestamps: version 1
  std::vector<FrameColumns> frames;
  Layout layout;  // with the regions of elements whose columns are named after one
};

CsvHeading parseCsvHeading(std::string_view line, const std::filesystem::path& path);
