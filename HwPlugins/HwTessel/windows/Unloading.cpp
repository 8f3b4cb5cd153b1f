// Returns to the system what mingw-w64's runtime, which is linked into this DLL, keeps when the DLL is
// unloaded: 75 KB, two handles, and an index of thread-local storage. A process has a thousand of these; a
// host that loads the DLL for each connection would abort when they are used up. Threads: the one that
// unloads the DLL; the system lets no other one load or unload meanwhile.

#include <windows.h>

#include <array>
#include <cstddef>

// Frees the memory that the runtime reserves for exceptions.
namespace __gnu_cxx {
void __freeres();
}

// The table of functions that the system calls in this DLL when a thread ends.
extern "C" const IMAGE_TLS_DIRECTORY64 _tls_used;

namespace {

constinit HINSTANCE instance = nullptr;
constinit bool isUnloaded = false;
constinit std::array<DWORD, 8> indexes{};
constinit std::size_t indexCount = 0;

DWORD WINAPI allocateIndex()
{
  auto* const function = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), "TlsAlloc"));
  const DWORD index = reinterpret_cast<decltype(&TlsAlloc)>(function)();
  if (index != TLS_OUT_OF_INDEXES && indexCount < indexes.size()) indexes[indexCount++] = index;
  return index;
}

// Made before every other object, and so destroyed after them.
struct Remainder {
  Remainder() = default;
  Remainder(const Remainder&) = delete;
  Remainder& operator=(const Remainder&) = delete;
  ~Remainder()
  {
    // At the end of the process other threads may have been killed while they held a lock.
    if (!isUnloaded) return;
    // For this thread, which goes on without the DLL, the system does not call them.
    const auto* callback = reinterpret_cast<const PIMAGE_TLS_CALLBACK*>(_tls_used.AddressOfCallBacks);
    for (; *callback != nullptr; ++callback) {
      (*callback)(instance, DLL_THREAD_DETACH, nullptr);
    }
    for (std::size_t index = 0; index < indexCount; ++index) {
      TlsFree(indexes[index]);
    }
    __gnu_cxx::__freeres();
  }
};

[[gnu::init_priority(101)]] Remainder remainder;

}  // namespace

// Replaces the import of TlsAlloc for the whole DLL.
extern "C" {
decltype(&TlsAlloc) __imp_TlsAlloc = allocateIndex;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE dll, DWORD reason, LPVOID isProcessEnding)
{
  instance = dll;
  if (reason == DLL_PROCESS_DETACH) isUnloaded = isProcessEnding == nullptr;
  return TRUE;
}
