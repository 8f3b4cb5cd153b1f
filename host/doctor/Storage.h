// Whether a folder can take a recording.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "host/base/Failure.h"
#include "host/doctor/Step.h"

struct Storage {
  std::uint64_t freeBytes = 0;
  double bytesPerSecond = 0;       // written, and on the disk
  std::optional<Failure> failure;  // why nothing can be written
};

// Writes a temporary file of at most 8 MiB, for about a second, and removes it.
Storage measureStorage(const std::filesystem::path& folder);

// `storage`: free space and speed compared with what a recording needs.
Step storageStep(const Storage& storage, const std::filesystem::path& folder);
