// A host's record store for tests: keeps every committed record.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "shared/ReorderingMap.h"

class HostRecord final : public RecordBuffer {
 public:
  // Value of elements that were not written.
  static constexpr unsigned short untouched = 0xEEEE;

  struct Record {
    std::vector<unsigned short> elements;
    std::uint32_t timestamp;
  };

  // A store for records of `size` elements, with the map for the hardware object.
  explicit HostRecord(std::size_t size, std::vector<std::int32_t> indices = {})
  {
    rows_.fill(std::vector<unsigned short>(size, untouched));
    map.data_ = writePointer();
    map.size_ = size;
    map.indices_ = std::move(indices);
    map.buffer_ = this;
  }

  void advance() override
  {
    records.push_back({rows_[0], timestamp_});
    std::fill(rows_[0].begin(), rows_[0].end(), untouched);
    rows_[0].swap(rows_[1]);
  }
  unsigned short* writePointer() override { return rows_[0].data(); }
  std::uint32_t* stampCell() override { return &timestamp_; }

  ReorderingMap<unsigned short> map;
  std::vector<Record> records;

 private:
  std::array<std::vector<unsigned short>, 2> rows_;  // used in turn, so that the address changes
  std::uint32_t timestamp_ = 0;
};
