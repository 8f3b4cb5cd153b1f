#include "tests/support/FailingMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

struct Plan {
  std::uint64_t first = 0;  // 0: none fails
  FailingMemory::Rest rest = FailingMemory::Rest::succeeds;
  const int* exempt = nullptr;
  std::uint64_t count = 0;
};

thread_local constinit Plan plan;
std::atomic<std::int64_t> living{0};

bool fails()
{
  if (plan.first == 0 || (plan.exempt != nullptr && *plan.exempt != 0)) return false;
  ++plan.count;
  return plan.count == plan.first || (plan.count > plan.first && plan.rest == FailingMemory::Rest::fails);
}

void* allocate(std::size_t size)
{
  void* const memory = fails() ? nullptr : std::malloc(size);
  if (memory != nullptr) living.fetch_add(1, std::memory_order_relaxed);
  return memory;
}

void release(void* memory)
{
  if (memory != nullptr) living.fetch_sub(1, std::memory_order_relaxed);
  std::free(memory);
}

}  // namespace

FailingMemory::FailingMemory(std::uint64_t first, Rest rest, const int* exempt) : first_(first)
{
  plan = {.first = first, .rest = rest, .exempt = exempt, .count = 0};
}

FailingMemory::~FailingMemory()
{
  plan = {};
}

std::uint64_t FailingMemory::allocations() const
{
  return plan.count;
}

bool FailingMemory::hasFailed() const
{
  return plan.count >= first_;
}

std::int64_t livingAllocations()
{
  return living.load(std::memory_order_relaxed);
}

void* operator new(std::size_t size)
{
  if (void* const memory = allocate(size)) return memory;
  throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t& /*nothrow*/) noexcept
{
  return allocate(size);
}

void operator delete(void* memory) noexcept
{
  release(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
  release(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*nothrow*/) noexcept
{
  release(memory);
}
