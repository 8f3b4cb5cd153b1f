// The payload of the frame in assembly. Like a vector, but what is appended is written once: a vector fills
// new bytes with zeros first, which a packet would notice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

class Bytestream {
 public:
  // Grows beyond the usual size when it has to.
  explicit Bytestream(std::size_t usualSize) : memory_(usualSize) {}

  std::size_t size() const { return size_; }
  const std::uint8_t* data() const { return memory_.data(); }
  void clear() { size_ = 0; }

  // A length that the compiler knows makes this a few moves.
  template <std::size_t length>
  void append(std::span<const std::uint8_t, length> bytes)
  {
    if (!bytes.empty()) std::memcpy(extend(bytes.size()), bytes.data(), bytes.size());
  }

  void appendZeros(std::size_t count)
  {
    if (count > 0) std::memset(extend(count), 0, count);
  }

 private:
  // Where so many new bytes go.
  std::uint8_t* extend(std::size_t count)
  {
    const std::size_t begin = size_;
    size_ += count;
    if (size_ > memory_.size()) memory_.resize(2 * size_);
    return memory_.data() + begin;
  }

  std::vector<std::uint8_t> memory_;
  std::size_t size_ = 0;  // of what is in use
};
