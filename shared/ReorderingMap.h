// The host's view of the record being filled: maps the plug-in's element order to the host's.
//
// Field order and virtual order are a contract between host and plug-in, which must both be built from this
// header with the same compiler and standard library.
// Threads: the host's reading thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "shared/Assertion.h"

// The host's record store: rows of elements, each with a timestamp in ms.
class RecordBuffer {
 public:
  // Commits the record that was filled.
  virtual void advance() = 0;
  // Address of the elements of the next record.
  virtual unsigned short* writePointer() = 0;
  // Address of the timestamp of the record being filled.
  virtual std::uint32_t* stampCell() = 0;

 protected:
  ~RecordBuffer() = default;
};

template <class Element>
class ReorderingMap;

// Created and owned by the host.
template <>
class ReorderingMap<unsigned short> {
 public:
  // The element for the plug-in's position k. A position that the map drops or does not contain is the spare
  // cell; without a map, position k is element k. Reports an assertion if there is no record.
  unsigned short& operator[](std::uint32_t k)
  {
    checkAssertion(nullptr != data_, L"0 != data_", L"..\\shared\\ReorderingMap", 46,
                   L"ReorderingMap<unsigned short>::operator []");
    if (indices_.empty()) return data_[k];
    if (k >= indices_.size() || indices_[k] < 0) return spare_;
    return data_[indices_[k]];
  }

  unsigned short* data_ = nullptr;     // first element of the record being filled; the host's memory
  unsigned short spare_ = 0;           // written and never read
  std::uint64_t size_ = 0;             // elements of the host's record
  std::vector<std::int32_t> indices_;  // position k goes to element indices_[k]; empty for the identity
  RecordBuffer* buffer_ = nullptr;     // not owned
};

static_assert(offsetof(ReorderingMap<unsigned short>, data_) == 0);
static_assert(offsetof(ReorderingMap<unsigned short>, spare_) == 8);
static_assert(offsetof(ReorderingMap<unsigned short>, size_) == 16);
static_assert(offsetof(ReorderingMap<unsigned short>, indices_) == 24);
static_assert(offsetof(ReorderingMap<unsigned short>, buffer_) == 48);
static_assert(sizeof(ReorderingMap<unsigned short>) == 56);
