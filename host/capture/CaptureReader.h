// Reads wire captures (pcapng, see docs/capture.md) from bytes in pieces of any size, whole or cut anywhere.
// Bytes that are no capture are skipped and counted; whole blocks of other tools, and packets of other link
// types, are left out. Never fails: a capture is read up to its cut.
// Threads: one. Memory: what was added since the last block, and at most 64 KiB of an unfinished one.
// Times are of host::uptime() where the section has the plug-in's comment, otherwise as the capture has them.
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
  // Nothing will be added: what looks like a block that has not come completely is none, and may hide others.
  void end() { hasEnded_ = true; }
  // The next complete block; valid until the next call of this class.
  std::optional<CaptureBlock> next();

  // The wall clock at a time of the latest section, since 1970, UTC.
  std::chrono::nanoseconds wallTime(std::chrono::nanoseconds time) const;
  std::uint64_t skippedBytes() const { return skipped_; }
  // Of a block that has not come completely.
  std::size_t unfinishedBytes() const { return bytes_.size() - position_; }

 private:
  struct Interface {
    bool isSerial = false;
    std::uint8_t resolution = 6;  // of its times: digits after the second, or bits if the highest bit is set
    std::uint64_t offsetSeconds = 0;
  };

  std::optional<std::size_t> lengthHere() const;
  std::optional<CaptureBlock> decode(std::span<const std::uint8_t> block);
  CaptureBlock beginSection(std::span<const std::uint8_t> block);
  void addInterface(std::span<const std::uint8_t> block);
  std::optional<CaptureBlock> decodePacket(std::span<const std::uint8_t> block) const;

  std::vector<std::uint8_t> bytes_;
  std::size_t position_ = 0;
  std::uint64_t skipped_ = 0;
  bool isInStep_ = true;  // a block ended where the next one begins
  bool hasSection_ = false;
  bool hasEnded_ = false;
  bool isBigEndian_ = false;
  std::uint64_t toUptimeNs_ = 0;  // what is added to the times of the section, modulo 2^64
  std::vector<Interface> interfaces_;
};
