#include "host/capture/CaptureReader.h"

void CaptureReader::add(std::span<const std::uint8_t> bytes)
{
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

std::optional<CaptureBlock> CaptureReader::next()
{
  skipped_ += unfinishedBytes();
  position_ = bytes_.size();
  return std::nullopt;
}
