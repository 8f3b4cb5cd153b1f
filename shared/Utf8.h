// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF. Independent of the locale.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace utf8 {

struct Character {
  char32_t code = 0;
  std::size_t length = 0;  // in bytes; 0 if the text does not begin with a valid sequence
};

Character first(std::string_view text);

// Appends the sequence of a character, or of U+FFFD if `code` is not a character.
void append(std::string& text, char32_t code);

}  // namespace utf8
