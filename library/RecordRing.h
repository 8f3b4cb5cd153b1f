// The newest records on their way from the thread that reads the gloves to those that want them, in memory
// that is reserved once. Where readers are late the oldest ones are dropped, and counted.
//
// Threads: any, but only one adds. It waits for readers only while they copy a few records, and is the next
// one then, however many they are. Errors: the constructor throws std::bad_alloc; nothing else throws.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "host/recording/Record.h"
#include "library/Block.h"

namespace library {

class RecordRing {
 public:
  RecordRing(std::size_t capacity, std::size_t gloves, std::size_t elements);

  void add(const Record& record);
  // There will be no more records; whoever waits for one returns.
  void end();

  // As tessel_read() and tessel_latest() describe it; the block must fit. Return the number of records in the
  // block: 0 if there is none within the timeout, which is endless if negative, or none after the end.
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
  using Lock = std::unique_lock<std::mutex>;

  Lock lockToWrite();
  Lock lockToRead() const;
  // Copies some of the records with numbers from `first` to before `end` into the block, from this row on,
  // and returns how many. Locked.
  std::uint32_t copyPiece(std::uint64_t first, std::uint64_t end, tessel_block& block,
                          std::uint32_t row) const;

  mutable std::mutex mutex_;  // of all below, except the flag
  std::atomic<bool> isWriterWaiting_ = false;
  std::condition_variable added_;
  const std::size_t capacity_, gloves_;
  std::vector<GloveFrame> frames_;       // by slot and glove
  std::vector<std::uint16_t> elements_;  // by slot and element
  std::vector<Record> slots_;            // their spans are within these
  std::uint64_t next_ = 0;               // number of the next record to be added
  std::uint64_t taken_ = 0;              // number of the next one to be taken
  std::uint64_t overflowed_ = 0;
  std::uint64_t reported_ = 0;  // of these, by take()
  bool isEnded_ = false;
};

}  // namespace library
