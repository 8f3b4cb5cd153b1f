// Reading and writing of interlace files: plain text, one integer per line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace interlace {

struct Entry {
  std::int32_t number;
  std::int64_t context;  // supplied by the caller
  std::uint16_t spare;   // 0
};

// The numbers of the file in order, without negative ones, up to the first word that is not a number. A null
// path returns no entries. Throws the narrow text "Error reading interlace file" as a plain `char*` if the
// file does not open.
std::vector<Entry> readInterlaceFile(const wchar_t* path, std::int64_t context);

// Replaces the file with the numbers of the entries. False if it does not open.
bool writeInterlaceFile(const std::vector<Entry>& entries, const std::wstring& path);

// The larger of two counts: numbers with bit 0 set, and numbers with bit 1 set.
std::size_t interlaceCount(const std::vector<Entry>& entries);

}  // namespace interlace
