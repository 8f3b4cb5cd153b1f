// The record store of the program: one record, filled by the plug-in and taken out before the next.
// Elements that the plug-in does not fill are 0.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "shared/ReorderingMap.h"

class RecordStore final : public RecordBuffer {
 public:
  explicit RecordStore(std::size_t elements) : elements_(elements)
  {
    map.data_ = elements_.data();
    map.size_ = elements_.size();
    map.buffer_ = this;
  }
  RecordStore(const RecordStore&) = delete;
  RecordStore& operator=(const RecordStore&) = delete;

  void advance() override { isNew_ = true; }
  unsigned short* writePointer() override { return elements_.data(); }
  std::uint32_t* stampCell() override { return &stamp_; }

  // True once for each record that came.
  bool takeNew() { return std::exchange(isNew_, false); }
  std::span<const std::uint16_t> elements() const { return elements_; }
  std::uint32_t stampMs() const { return stamp_; }

  ReorderingMap<unsigned short> map;  // for HwInterface::mapping_

 private:
  std::vector<unsigned short> elements_;
  std::uint32_t stamp_ = 0;
  bool isNew_ = false;
};
