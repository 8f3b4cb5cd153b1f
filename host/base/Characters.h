// Untrusted text as characters: which may be shown unchanged, and which must be escaped first.
// Throws only std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct Character {
  std::string_view bytes;
  std::optional<char32_t> code;  // empty: a byte that is not valid UTF-8
  // False also for terminal controls, line breaks and changes of the writing direction.
  bool isPrintable = false;
};

// The first character of a text, which must not be empty.
Character firstCharacter(std::string_view text);

// The text as one line of valid UTF-8; all other characters are escaped: \n, \x1B, \u202E.
std::string printable(std::string_view text);
