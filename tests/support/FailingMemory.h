// Simulates exhausted memory for the thread: while an object lives, each `new` of the thread throws
// std::bad_alloc. Replaces the program's operator new.
#pragma once

class FailingMemory {
 public:
  FailingMemory();
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;
};
