// The newest records on their way from the thread that reads the gloves to those that want them, in memory
// that is reserved once. Where readers are late the oldest ones are dropped, and counted.
//
// Threads: any. The writer waits only while a reader copies a few records. Errors: the constructor throws
// std::bad_alloc; nothing else throws.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "host/recording/Record.h"
#include "library/include/tessel.h"

namespace library {

class RecordRing {
 public:
  RecordRing(std::size_t capacity, std::size_t gloves, std::size_t elements);

  void add(const Record& record);
  // There will be no more records; whoever waits for one returns.
  void end();

  // As tessel_read() and tessel_latest() describe it; the block must fit. Return the number of records in the
  // block: 0 if there is none within the timeout, which is negative for none, or none after the end.
  std::uint32_t take(tessel_block& block, std::chrono::milliseconds timeout);
  std::uint32_t copyLatest(tessel_block& block) const;

  bool hasEnded() const;
  struct Counts {
    std::uint64_t records = 0;     // that were added
    std::uint64_t buffered = 0;    // not taken yet
    std::uint64_t overflowed = 0;  // dropped before they were taken
  };
  Counts counts() const;

 private:
  // Of all records, by slot.
  struct Columns {
    std::vector<double> timeMs, arrivalMs;
    std::vector<std::uint32_t> pluginMs;
    std::vector<std::int64_t> frame, ticks;  // by slot and glove
    std::vector<double> sampledMs;
    std::vector<std::uint16_t> sample;
  };

  // Copies records by number into the block from this row on.
  void copy(std::uint64_t first, std::uint32_t count, tessel_block& block, std::uint32_t row) const;

  const std::size_t capacity_, gloves_, elements_;
  Columns columns_;
  mutable std::mutex mutex_;  // of what follows, and of the columns
  mutable std::condition_variable added_;
  std::uint64_t next_ = 0;   // number of the next record to be added
  std::uint64_t taken_ = 0;  // number of the next one to be taken
  std::uint64_t overflowed_ = 0;
  std::uint64_t reported_ = 0;  // of these, by take()
  bool isEnded_ = false;
};

// Whether the block is one, and large enough for records of this shape. Throws an Error.
void checkBlock(const tessel_block* block, std::size_t gloves, std::size_t elements);

// Copies a record into a row of the block, which must fit.
void copyRecord(const Record& record, tessel_block& block, std::uint32_t row);

}  // namespace library
