// Simulates exhausted memory for the thread: while an object lives, `new` throws std::bad_alloc, from the
// start or at one chosen allocation. Replaces the program's operator new, which also counts.
#pragma once

#include <cstdint>

class FailingMemory {
 public:
  // Whether those after the first failing allocation fail, too.
  enum class Rest { fails, succeeds };

  // `first`: the allocation that fails, counted from 1. While `exempt`, if there is one, is not 0, what
  // supports the test allocates: that neither fails nor counts.
  explicit FailingMemory(std::uint64_t first = 1, Rest rest = Rest::fails, const int* exempt = nullptr);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  // Since the beginning.
  std::uint64_t allocations() const;
  bool hasFailed() const;

 private:
  const std::uint64_t first_;
};

// Of the whole program, made by `new` and not deleted yet.
std::int64_t livingAllocations();
