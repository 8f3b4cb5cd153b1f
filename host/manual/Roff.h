// Text for a man page, in the language of roff and its macros `man`. Texts are UTF-8; code in them is in
// `backticks`. Throws only std::bad_alloc.
#pragma once

#include <string>
#include <string_view>

namespace roff {

// As is: nothing in it is a request or an escape sequence, and a hyphen stays what a user may copy.
std::string plain(std::string_view text);

std::string bold(std::string_view text);

// As is, with what is in backticks in bold. Newlines are spaces.
std::string prose(std::string_view text);

// What stands for a value, "csv|npy" or "[GLOVE] HZ": words in capitals are to be replaced, others to be
// typed.
std::string valueName(std::string_view text);

}  // namespace roff
