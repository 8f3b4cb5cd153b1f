// Orders wide texts by UTF-16 code unit; a prefix comes first. The order is the same whether wchar_t has 16
// or 32 bits, so a settings file lists its keys in the same order on every system.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

struct Utf16Less {
  using is_transparent = void;

  bool operator()(std::wstring_view left, std::wstring_view right) const
  {
    const auto [inLeft, inRight] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    if (inRight == right.end()) return false;
    if (inLeft == left.end()) return true;
    return codeUnits(*inLeft) < codeUnits(*inRight);
  }

 private:
  // The one or two code units of a character, as a number with the same order.
  static std::uint64_t codeUnits(wchar_t character)
  {
    const auto code = static_cast<std::uint32_t>(character);
    if (code < 0x10000) return std::uint64_t{code} << 16;
    const std::uint64_t leading = 0xD7C0 + (std::uint64_t{code} >> 10);
    const std::uint64_t trailing = 0xDC00 + (code & 0x3FF);
    return leading << 16 | trailing;
  }
};
