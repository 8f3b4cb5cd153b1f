// Access of a plug-in's hardware object to the host's record.
//
// Field order and virtual order are a contract between host and plug-in, which must both be built from this
// header with the same compiler and standard library.
#pragma once

#include "shared/ReorderingMap.h"

class BufferMapping {
 public:
  BufferMapping() = default;
  BufferMapping(const BufferMapping&) = delete;
  BufferMapping& operator=(const BufferMapping&) = delete;
  virtual ~BufferMapping() = default;

  // Elements of a record: the size of the host's map, or the native size without a map.
  virtual std::uint64_t getSize() { return mapping_ != nullptr ? mapping_->size_ : getNativeSize(); }
  // Elements of a record as the hardware object produces it.
  virtual std::uint64_t getNativeSize() = 0;

  // The host's record. Reports an assertion if the host has installed none.
  ReorderingMap<unsigned short>& getRecord()
  {
    checkAssertion(nullptr != mapping_, L"0 != mapping_", L"..\\shared\\BufferMapping", 27,
                   L"BufferMapping::getRecord");
    return *mapping_;
  }

  ReorderingMap<unsigned short>* mapping_ = nullptr;  // installed and owned by the host
};
