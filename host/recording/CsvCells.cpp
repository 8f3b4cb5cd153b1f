#include "host/recording/CsvCells.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>

#include "host/base/Characters.h"

void appendTime(std::string& line, double ms)
{
  constexpr double limit = 1e15;  // its hundredths still fit into 64 bits
  if (!(std::abs(ms) < limit)) return;
  const std::int64_t hundredths = std::llround(ms * 100);
  if (hundredths < 0) line += '-';
  const std::uint64_t size = static_cast<std::uint64_t>(std::abs(hundredths));
  const fmt::format_int whole(size / 100);
  line.append(whole.data(), whole.size());
  line += '.';
  line += static_cast<char>('0' + size % 100 / 10);
  line += static_cast<char>('0' + size % 10);
}

void appendText(std::string& line, std::string_view text)
{
  const std::string shown = printable(text);
  if (shown.find_first_of(",\"") == std::string::npos) {
    line += shown;
    return;
  }
  line += '"';
  for (const char character : shown) {
    if (character == '"') line += '"';
    line += character;
  }
  line += '"';
}
