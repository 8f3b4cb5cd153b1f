#include "shared/Utf8.h"

namespace utf8 {

namespace {

constexpr char32_t replacement = 0xFFFD;
constexpr unsigned continuationBits = 6;

bool isCharacter(char32_t code)
{
  return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

std::size_t lengthOf(char32_t code)
{
  if (code < 0x80) return 1;
  if (code < 0x800) return 2;
  return code < 0x10000 ? 3 : 4;
}

// Length and own bits of a sequence, from its first byte. A length of 0 means that it is not a first byte.
Character beginning(unsigned char byte)
{
  if (byte < 0x80) return {byte, 1};
  if (byte >= 0xC0 && byte < 0xE0) return {byte & 0x1FU, 2};
  if (byte >= 0xE0 && byte < 0xF0) return {byte & 0x0FU, 3};
  if (byte >= 0xF0 && byte < 0xF8) return {byte & 0x07U, 4};
  return {};
}

}  // namespace

Character first(std::string_view text)
{
  if (text.empty()) return {};
  Character character = beginning(static_cast<unsigned char>(text.front()));
  if (character.length > text.size()) return {};
  for (const char next : text.substr(0, character.length).substr(character.length > 0 ? 1 : 0)) {
    const auto byte = static_cast<unsigned char>(next);
    if ((byte & 0xC0U) != 0x80) return {};
    character.code = character.code << continuationBits | (byte & 0x3FU);
  }
  const bool isShortest = character.length == lengthOf(character.code);
  return isShortest && isCharacter(character.code) ? character : Character{};
}

void append(std::string& text, char32_t code)
{
  if (!isCharacter(code)) code = replacement;
  const std::size_t length = lengthOf(code);
  constexpr unsigned char firstByteMarks[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
  for (std::size_t index = 0; index < length; ++index) {
    const std::size_t shift = continuationBits * (length - 1 - index);
    const char32_t bits = index == 0 ? code >> shift : (code >> shift & 0x3FU);
    text += static_cast<char>(bits | (index == 0 ? firstByteMarks[length] : 0x80U));
  }
}

}  // namespace utf8
