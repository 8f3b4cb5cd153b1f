// A record store for hosts that need only one record at a time: the plug-in fills it, and the host takes the
// record before the next read. Elements that the plug-in does not fill stay 0.
// Threads: the reading thread. Must not be moved: the map in it points to its memory.
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "shared/ReorderingMap.h"

namespace plugin {

class RecordStore : public RecordBuffer {
 public:
  // `elements` per record, as HwInterface::getNativeSize returns.
  explicit RecordStore(std::size_t elements) : elements_(elements)
  {
    map.data_ = elements_.data();
    map.size_ = elements_.size();
    map.buffer_ = this;
  }
  virtual ~RecordStore() = default;
  RecordStore(const RecordStore&) = delete;
  RecordStore& operator=(const RecordStore&) = delete;

  void advance() override { isNew_ = true; }
  unsigned short* writePointer() override { return elements_.data(); }
  std::uint32_t* stampCell() override { return &timestampMs_; }

  // True once for each record.
  bool takeNew() { return std::exchange(isNew_, false); }
  std::span<const std::uint16_t> elements() const { return elements_; }
  // On the host's clock.
  std::uint32_t timestampMs() const { return timestampMs_; }

  ReorderingMap<unsigned short> map;  // for HwInterface::mapping_

 private:
  std::vector<unsigned short> elements_;
  std::uint32_t timestampMs_ = 0;
  bool isNew_ = false;
};

}  // namespace plugin
