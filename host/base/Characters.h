// Text that others made, as characters: what may be shown as it is, and what could do harm on its way to
// people. Throws only std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct Character {
  std::string_view bytes;
  std::optional<char32_t> code;  // none: a byte that is not UTF-8
  // False also for what commands a terminal, breaks a line or turns the direction of writing.
  bool isPrintable = false;
};

// The character that a text begins with, which must not be empty.
Character firstCharacter(std::string_view text);

// The text on one line and in valid UTF-8, its other characters written as \n, \x1B or \u202E.
std::string printable(std::string_view text);
