// Takes all memory away from the thread: while an object lives, each `new` of it throws std::bad_alloc.
// Replaces the program's operator new.
#pragma once

class FailingMemory {
 public:
  FailingMemory();
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;
};
