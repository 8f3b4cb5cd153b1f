// Chooses the name and the format of a recording from the options --output and --format. Errors: a Failure
// with ExitCode::usage if they contradict each other.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/recording/RecordWriter.h"

struct OutputName {
  std::filesystem::path path;
  RecordFormat format;
};

OutputName chooseOutputName(const std::optional<std::string>& name, std::optional<RecordFormat> format);

// The format that the name implies, if any.
std::optional<RecordFormat> formatOf(std::filesystem::path path);

// As --format names them.
std::vector<std::string> formatNames();
// Of one of these names.
RecordFormat formatNamed(std::string_view name);
// A recording's name without the extension of its format: "run" of "run.xdf".
std::filesystem::path withoutExtension(std::filesystem::path recording);
