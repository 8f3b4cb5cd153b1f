// Preloaded into a program: lets allocations of all its threads fail, counted from 1. It counts from when the
// program has a handler for them; before main() nothing could catch what they throw.
//   FAILING_ALLOCATION=N   the first of them; none without it
//   FAILING_ALLOCATIONS=M  how many from there on; 1 without it
//   ALLOCATIONS_FILE=PATH  gets the number of all when the program exits

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

std::atomic<unsigned long> allocations{0};

unsigned long number(const char* variable, unsigned long otherwise)
{
  const char* const text = std::getenv(variable);
  return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

bool fails()
{
  static const unsigned long first = number("FAILING_ALLOCATION", 0);
  static const unsigned long count = number("FAILING_ALLOCATIONS", 1);
  if (std::get_new_handler() == nullptr) return false;
  const unsigned long current = ++allocations;
  return first != 0 && current >= first && current - first < count;
}

struct Report {
  ~Report()
  {
    const char* const path = std::getenv("ALLOCATIONS_FILE");
    std::FILE* const file = path == nullptr ? nullptr : std::fopen(path, "w");
    if (file == nullptr) return;
    std::fprintf(file, "%lu", allocations.load());
    std::fclose(file);
  }
} const report;

}  // namespace

void* operator new(std::size_t size)
{
  for (;;) {
    if (void* const memory = fails() ? nullptr : std::malloc(size)) return memory;
    const std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) throw std::bad_alloc();
    handler();
  }
}

void operator delete(void* memory) noexcept
{
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
  std::free(memory);
}
