// A host's record with a margin on both sides, to see what is written where, and when.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "shared/ReorderingMap.h"

class GuardedStore final : public RecordBuffer {
 public:
  explicit GuardedStore(std::size_t elements) : elements_(elements + 2 * margin, untouched)
  {
    map.data_ = writePointer();
    map.size_ = elements;
    map.buffer_ = this;
  }
  GuardedStore(const GuardedStore&) = delete;
  GuardedStore& operator=(const GuardedStore&) = delete;

  void advance() override { ++records_; }
  unsigned short* writePointer() override { return elements_.data() + margin; }
  std::uint32_t* stampCell() override { return &timestamp_; }

  std::uint64_t records() const { return records_; }
  std::uint32_t timestamp() const { return timestamp_; }
  std::span<const std::uint16_t> elements() const
  {
    return std::span(elements_).subspan(margin, elements_.size() - 2 * margin);
  }
  bool isMarginUntouched() const
  {
    const auto isUntouched = [](std::uint16_t value) { return value == untouched; };
    return std::all_of(elements_.begin(), elements_.begin() + margin, isUntouched) &&
           std::all_of(elements_.end() - margin, elements_.end(), isUntouched);
  }
  // What was written is forgotten.
  void clear() { std::ranges::fill(elements_, untouched); }
  bool isUntouched() const
  {
    return std::ranges::all_of(elements_, [](std::uint16_t value) { return value == untouched; });
  }

  ReorderingMap<unsigned short> map;

 private:
  static constexpr std::uint16_t untouched = 0xEEEE;
  static constexpr std::ptrdiff_t margin = 16;

  std::vector<unsigned short> elements_;
  std::uint32_t timestamp_ = 0;
  std::uint64_t records_ = 0;
};
