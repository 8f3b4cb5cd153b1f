#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/ProcessUse.h"

const std::size_t openHandlesTolerance = 0;

std::size_t openHandles()
{
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                                std::filesystem::directory_iterator()));
}

std::size_t heapBytes()
{
  return ::mallinfo2().uordblks;
}

bool isLoaded(const std::string& fileName)
{
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with('/' + fileName)) return true;
  }
  return false;
}
