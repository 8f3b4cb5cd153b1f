// The host's view of the record being filled: where each element of the plug-in's order goes.
//
// Field order and virtual order are a contract between host and plug-in, which must both be built from this
// header with the same compiler and standard library.
// Threads: the host's reading thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "shared/Assertion.h"

// The host's record store: rows of elements, with a time stamp in ms beside each.
class RecordBuffer {
 public:
  // The record that was filled is complete.
  virtual void advance() = 0;
  // Where the elements of the next record go.
  virtual unsigned short* writePointer() = 0;
  // Where the time stamp of the record being filled goes.
  virtual std::uint32_t* stampCell() = 0;

 protected:
  ~RecordBuffer() = default;
};

template <class Element>
class ReorderingMap;

// Built and owned by the host.
template <>
class ReorderingMap<unsigned short> {
 public:
  // The place of the plug-in's position k. A position that the map drops, or does not know, has the spare
  // cell; without a map each has its own place. Reports an assertion if there is no record.
  unsigned short& operator[](std::uint32_t k)
  {
    checkAssertion(nullptr != data_, L"0 != data_", L"..\\shared\\ReorderingMap", 46,
                   L"ReorderingMap<unsigned short>::operator []");
    if (indices_.empty()) return data_[k];
    if (k >= indices_.size() || indices_[k] < 0) return spare_;
    return data_[indices_[k]];
  }

  unsigned short* data_ = nullptr;     // first element of the record being filled; the host's memory
  unsigned short spare_ = 0;           // what goes here is lost
  std::uint64_t size_ = 0;             // elements of the record, as the host sees it
  std::vector<std::int32_t> indices_;  // position k goes to element indices_[k]; empty for the identity
  RecordBuffer* buffer_ = nullptr;     // not owned
};

static_assert(offsetof(ReorderingMap<unsigned short>, data_) == 0);
static_assert(offsetof(ReorderingMap<unsigned short>, spare_) == 8);
static_assert(offsetof(ReorderingMap<unsigned short>, size_) == 16);
static_assert(offsetof(ReorderingMap<unsigned short>, indices_) == 24);
static_assert(offsetof(ReorderingMap<unsigned short>, buffer_) == 48);
static_assert(sizeof(ReorderingMap<unsigned short>) == 56);
