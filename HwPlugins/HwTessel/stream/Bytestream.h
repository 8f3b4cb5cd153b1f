// The payload of the frame being assembled. Unlike a vector it does not fill new bytes with zeros before they
// are written, a cost that would show at each packet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

class Bytestream {
 public:
  // Grows beyond the usual size if necessary.
  explicit Bytestream(std::size_t usualSize) : memory_(usualSize) {}

  std::size_t size() const { return size_; }
  const std::uint8_t* data() const { return memory_.data(); }
  void clear() { size_ = 0; }

  // A length known at compile time makes this a few moves.
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
  // Appends uninitialised bytes and returns their address.
  std::uint8_t* extend(std::size_t count)
  {
    const std::size_t begin = size_;
    if (begin + count > memory_.size()) memory_.resize(2 * (begin + count));
    size_ += count;
    return memory_.data() + begin;
  }

  std::vector<std::uint8_t> memory_;
  std::size_t size_ = 0;  // bytes in use
};
