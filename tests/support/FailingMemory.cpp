#include "tests/support/FailingMemory.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool isFailing = false;

}  // namespace

FailingMemory::FailingMemory()
{
  isFailing = true;
}

FailingMemory::~FailingMemory()
{
  isFailing = false;
}

void* operator new(std::size_t size)
{
  if (!isFailing) {
    if (void* const memory = std::malloc(size)) return memory;
  }
  throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t& /*nothrow*/) noexcept
{
  return isFailing ? nullptr : std::malloc(size);
}

void operator delete(void* memory) noexcept
{
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
  std::free(memory);
}
