#include "host/base/Characters.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "shared/Utf8.h"

namespace {

struct CodeRange {
  char32_t first, last;
};
constexpr std::array unprintable{
    CodeRange{0x00, 0x1F},      // C0 controls
    CodeRange{0x7F, 0x9F},      // DEL and C1 controls
    CodeRange{0x61C, 0x61C},    // directional marks
    CodeRange{0x200E, 0x200F},  //
    CodeRange{0x2028, 0x202E},  // line and paragraph separators, directional embeddings and overrides
    CodeRange{0x2066, 0x2069},  // directional isolates
    CodeRange{0xFEFF, 0xFEFF},  // byte order mark
    CodeRange{0xFFFE, 0xFFFF},  // noncharacters
};

bool isPrintable(char32_t code)
{
  return std::ranges::none_of(
      unprintable, [code](const CodeRange& range) { return code >= range.first && code <= range.last; });
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
  const utf8::Character known = utf8::first(text);
  if (known.length == 0) return {.bytes = text.substr(0, 1), .code = {}};
  return {text.substr(0, known.length), known.code, isPrintable(known.code)};
}

std::string printable(std::string_view text)
{
  // Nearly all texts, some of them many times a second.
  if (std::ranges::all_of(text, [](char byte) { return byte >= ' ' && byte <= '~'; }))
    return std::string(text);
  std::string shown;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    shown += character.isPrintable ? std::string(character.bytes) : escaped(character);
    text.remove_prefix(character.bytes.size());
  }
  return shown;
}
