#include "host/capture/CaptureTail.h"

void CaptureTail::add(std::span<const std::uint8_t> bytes)
{
  pieces_.emplace_back(bytes.begin(), bytes.end());
  size_ += bytes.size();
  while (size_ > capacity_ && pieces_.size() > 2) {
    size_ -= pieces_[1].size();
    pieces_.erase(pieces_.begin() + 1);
  }
}

std::string CaptureTail::bytes() const
{
  std::string all;
  all.reserve(size_);
  for (const auto& piece : pieces_) {
    all.append(piece.begin(), piece.end());
  }
  return all;
}
