// Keeps the latest bytes of a capture in memory, for the case that they have to be explained.
// Threads: one. Throws only std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
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
  std::vector<std::uint8_t> head_;
  std::vector<std::uint8_t> ring_;
  std::size_t next_ = 0;  // where the ring is written next
  bool isFull_ = false;
};
