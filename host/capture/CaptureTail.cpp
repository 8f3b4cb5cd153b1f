#include "host/capture/CaptureTail.h"

#include <algorithm>

void CaptureTail::add(std::span<const std::uint8_t> bytes)
{
  if (head_.empty()) {
    head_.assign(bytes.begin(), bytes.end());
    ring_.reserve(capacity_);
    return;
  }
  while (!bytes.empty()) {
    const std::size_t count = std::min(bytes.size(), capacity_ - next_);
    if (isFull_) {
      std::copy_n(bytes.begin(), count, ring_.begin() + static_cast<std::ptrdiff_t>(next_));
    } else {
      ring_.insert(ring_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    }
    next_ = (next_ + count) % capacity_;
    isFull_ = isFull_ || next_ == 0;
    bytes = bytes.subspan(count);
  }
}

std::string CaptureTail::bytes() const
{
  const auto oldest = ring_.begin() + static_cast<std::ptrdiff_t>(isFull_ ? next_ : 0);
  std::string all(head_.begin(), head_.end());
  all.append(oldest, ring_.end());
  all.append(ring_.begin(), oldest);
  return all;
}
