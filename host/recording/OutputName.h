// Which name and which format a recording gets, when a person has said something of either, of both or of
// none. Errors: a Failure with ExitCode::usage for what contradicts itself.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "host/recording/RecordWriter.h"

struct OutputName {
  std::filesystem::path path;
  RecordFormat format;
};

OutputName chooseOutputName(const std::optional<std::string>& name, std::optional<RecordFormat> format);
