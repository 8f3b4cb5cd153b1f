#include "shared/Interlace.h"

#include <algorithm>
#include <fstream>

#include "shared/MachineText.h"
#include "shared/System.h"

namespace interlace {

namespace {

char readError[] = "Error reading interlace file";

}  // namespace

std::vector<Entry> readInterlaceFile(const wchar_t* path, std::int64_t context)
{
  std::vector<Entry> entries;
  if (path == nullptr) return entries;
  std::ifstream file;
  if (!os::openStream(file, path, std::ios_base::in)) throw static_cast<char*>(readError);
  file.imbue(machine::locale());
  std::int32_t number = 0;
  while (file >> number) {
    if (number >= 0) entries.push_back({.number = number, .context = context, .spare = 0});
  }
  return entries;
}

bool writeInterlaceFile(const std::vector<Entry>& entries, const std::wstring& path)
{
  std::ofstream file;
  if (!os::openStream(file, path, std::ios_base::out)) return false;
  file.imbue(machine::locale());
  for (const Entry& entry : entries) {
    file << entry.number << '\n';
  }
  return true;
}

std::size_t interlaceCount(const std::vector<Entry>& entries)
{
  const auto withBit = [&entries](std::int32_t bit) {
    return std::count_if(entries.begin(), entries.end(),
                         [bit](const Entry& entry) { return (entry.number & bit) != 0; });
  };
  return static_cast<std::size_t>(std::max(withBit(1), withBit(2)));
}

}  // namespace interlace
