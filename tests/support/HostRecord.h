// A host's record store for tests: keeps every committed record.
#pragma once

#include <cstdint>
#include <vector>

#include "shared/ReorderingMap.h"

class HostRecord final : public RecordBuffer {
 public:
  // What elements hold that nobody wrote.
  static constexpr unsigned short untouched = 0xEEEE;

  struct Record {
    std::vector<unsigned short> elements;
    std::uint32_t stamp;
  };

  // A store of records of so many elements, and the map that the hardware object gets.
  explicit HostRecord(std::size_t size, std::vector<std::int32_t> indices = {}) : row_(size, untouched)
  {
    map.data_ = row_.data();
    map.size_ = size;
    map.indices_ = std::move(indices);
    map.buffer_ = this;
  }

  void advance() override
  {
    records.push_back({row_, stamp_});
    row_.assign(row_.size(), untouched);
  }
  unsigned short* writePointer() override { return row_.data(); }
  std::uint32_t* stampCell() override { return &stamp_; }

  ReorderingMap<unsigned short> map;
  std::vector<Record> records;

 private:
  std::vector<unsigned short> row_;
  std::uint32_t stamp_ = 0;
};
