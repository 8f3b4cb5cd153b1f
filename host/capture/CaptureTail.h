// Keeps the latest bytes of a capture in memory, for the case that they have to be explained.
// Threads: one. Throws only std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

class CaptureTail {
 public:
  explicit CaptureTail(std::size_t capacity) : capacity_(capacity) {}

  // Bytes as they were received at once. The first ones hold the beginning of the file, and are always kept.
  void add(std::span<const std::uint8_t> bytes);
  // As a file that readers of captures accept; they skip what remains of a block at the place of the cut.
  std::string bytes() const;

 private:
  std::size_t capacity_;
  std::size_t size_ = 0;  // of all pieces
  std::deque<std::vector<std::uint8_t>> pieces_;
};
