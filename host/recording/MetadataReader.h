// Reads what metadataText() writes, of versions 1 to 3. It may come from anywhere: values that are missing
// or of another type are unknown. Errors: a Failure with ExitCode::recording if it is not the metadata of a
// recording, or if its groups of elements can't be used.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/recording/RecordingMetadata.h"

struct ReadMetadata {
  RecordingMetadata metadata;
  int version = 0;
  bool isComplete = false;               // it ended, and all records were written
  std::optional<std::uint64_t> records;  // if it is complete
  std::uint64_t events = 0;
  std::vector<std::string> notes;  // for the user: what can't be used
};

// `path`: where the text comes from, for messages.
ReadMetadata readMetadata(std::string_view text, const std::filesystem::path& path);
// Reads the file, up to a size that no recording needs.
ReadMetadata readMetadataFile(const std::filesystem::path& path);
