// Reads wire captures (pcapng, see docs/capture.md) from bytes in pieces of any size, whole or cut anywhere.
// Bytes that are no capture are skipped and counted. Never fails: a capture is read up to its cut.
// Threads: one.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/capture/CaptureBlock.h"

class CaptureReader {
 public:
  void add(std::span<const std::uint8_t> bytes);
  // The next complete block; valid until the next call of this class.
  std::optional<CaptureBlock> next();

  std::uint64_t skippedBytes() const { return skipped_; }
  // Of a block that has not come completely.
  std::size_t unfinishedBytes() const { return bytes_.size() - position_; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t position_ = 0;
  std::uint64_t skipped_ = 0;
};
