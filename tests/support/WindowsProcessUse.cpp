#include <windows.h>

#include <array>
#include <cstdint>
#include <vector>

#include "tests/support/ProcessUse.h"

namespace {

// A new handle gets the lowest free number: Wine can't count them.
std::size_t usedHandles()
{
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  CloseHandle(event);
  return reinterpret_cast<std::uintptr_t>(event) / sizeof(DWORD);
}

// Of some thousand that a process may have.
std::size_t usedThreadLocals()
{
  constexpr std::size_t all = 1088;
  std::vector<DWORD> free;
  for (DWORD index = TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = TlsAlloc()) {
    free.push_back(index);
  }
  for (const DWORD index : free) {
    TlsFree(index);
  }
  return all - free.size();
}

}  // namespace

// A handle that is free for a moment only moves the lowest number.
const std::size_t openHandlesTolerance = 4;

std::size_t openHandles()
{
  return usedHandles() + usedThreadLocals();
}

std::size_t heapBytes()
{
  std::array<HANDLE, 64> heaps{};
  const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
  std::size_t bytes = 0;
  for (DWORD heap = 0; heap < count && heap < heaps.size(); ++heap) {
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heaps[heap]);
    while (HeapWalk(heaps[heap], &entry) != 0) {
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
    }
    HeapUnlock(heaps[heap]);
  }
  return bytes;
}

bool isLoaded(const std::string& fileName)
{
  return GetModuleHandleA(fileName.c_str()) != nullptr;
}
