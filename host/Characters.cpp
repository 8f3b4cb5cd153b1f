#include "host/Characters.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

struct CodeRange {
  char32_t first, last;
};
constexpr std::array unprintable{
    CodeRange{0x00, 0x1F},      // C0 controls
    CodeRange{0x7F, 0x9F},      // DEL and C1 controls
    CodeRange{0x61C, 0x61C},    // marks of direction
    CodeRange{0x200E, 0x200F},  //
    CodeRange{0x2028, 0x202E},  // line and paragraph separator, embeddings and overrides of direction
    CodeRange{0x2066, 0x2069},  // isolates of direction
    CodeRange{0xFEFF, 0xFEFF},  // byte order mark
    CodeRange{0xFFFE, 0xFFFF},  // no characters
};

bool isPrintable(char32_t code)
{
  return std::ranges::none_of(
      unprintable, [code](const CodeRange& range) { return code >= range.first && code <= range.last; });
}

// How many bytes a character has that begins with this one; 0 if none does.
std::size_t sizeByLead(unsigned lead)
{
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  return lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
}

std::string escaped(const Character& character)
{
  if (!character.code) return fmt::format("\\x{:02X}", static_cast<unsigned char>(character.bytes[0]));
  const auto code = static_cast<unsigned>(*character.code);
  switch (code) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return code < 0x80 ? fmt::format("\\x{:02X}", code) : fmt::format("\\u{:04X}", code);
  }
}

}  // namespace

Character firstCharacter(std::string_view text)
{
  const auto byte = [&](std::size_t index) { return unsigned{static_cast<unsigned char>(text[index])}; };
  const Character broken{.bytes = text.substr(0, 1), .code = {}};
  const std::size_t size = sizeByLead(byte(0));
  if (size == 0 || size > text.size()) return broken;
  char32_t code = size == 1 ? byte(0) : byte(0) & (0x7FU >> size);
  for (std::size_t index = 1; index < size; ++index) {
    if (byte(index) >> 6 != 2) return broken;
    code = code << 6 | (byte(index) & 0x3FU);
  }
  constexpr std::array<char32_t, 5> smallest{0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < smallest[size] || code > 0x10FFFF || isSurrogate) return broken;
  return {text.substr(0, size), code, isPrintable(code)};
}

std::string printable(std::string_view text)
{
  std::string shown;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    shown += character.isPrintable ? std::string(character.bytes) : escaped(character);
    text.remove_prefix(character.bytes.size());
  }
  return shown;
}
