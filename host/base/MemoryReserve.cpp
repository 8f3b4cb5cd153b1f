#include "host/base/MemoryReserve.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <new>

namespace host {

namespace {

// Enough for what a recording needs to end. So large a block is returned to the system when it is freed.
constexpr std::size_t reserveBytes = 256 * 1024;

constinit std::array<std::atomic<void*>, memoryReserves> reserves{};
constinit std::atomic<bool> isShort{false};

// Several threads may be without memory at the same moment: each takes a reserve of its own.
void releaseReserve()
{
  for (std::atomic<void*>& reserve : reserves) {
    if (void* const memory = reserve.exchange(nullptr)) {
      isShort = true;
      std::free(memory);
      return;
    }
  }
  throw std::bad_alloc();
}

}  // namespace

void reserveMemory()
{
  for (std::atomic<void*>& reserve : reserves) {
    reserve = std::malloc(reserveBytes);
  }
  std::set_new_handler(releaseReserve);
}

bool isMemoryShort()
{
  return isShort;
}

}  // namespace host
