// Bytes as tests write them: "80 19 04 05".
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

inline Bytes hex(const std::string& text)
{
  Bytes bytes;
  const char* position = text.c_str();
  while (true) {
    char* end = nullptr;
    const unsigned long value = std::strtoul(position, &end, 16);
    if (end == position) return bytes;
    bytes.push_back(static_cast<std::uint8_t>(value));
    position = end;
  }
}

inline std::string toHex(std::span<const std::uint8_t> bytes)
{
  std::string text;
  for (const std::uint8_t byte : bytes) {
    char digits[4] = {};
    std::snprintf(digits, sizeof digits, "%s%02X", text.empty() ? "" : " ", byte);
    text += digits;
  }
  return text;
}
