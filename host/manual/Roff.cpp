#include "host/manual/Roff.h"

#include <algorithm>
#include <cctype>

namespace roff {

namespace {

std::string escaped(char letter)
{
  switch (letter) {
    case '\\':
      return "\\(rs";
    case '-':
      return "\\-";
    case '\'':
      return "\\(aq";
    case '`':
      return "\\(ga";
    case '^':
      return "\\(ha";
    case '~':
      return "\\(ti";
    case '\n':
      return " ";
    default:
      return {letter};
  }
}

std::string italic(std::string_view text)
{
  return "\\fI" + plain(text) + "\\fR";
}

bool isUpper(char letter)
{
  return letter >= 'A' && letter <= 'Z';
}
bool isInWord(char letter)
{
  return std::isalnum(static_cast<unsigned char>(letter)) != 0;
}

}  // namespace

std::string plain(std::string_view text)
{
  // A dot or an apostrophe would begin a request at the start of a line.
  std::string line = text.starts_with('.') ? "\\&" : "";
  for (const char letter : text) {
    line += escaped(letter);
  }
  return line;
}

std::string bold(std::string_view text)
{
  return "\\fB" + plain(text) + "\\fR";
}

std::string prose(std::string_view text)
{
  std::string line;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t code = text.find('`', begin);
    const std::size_t end = code == std::string_view::npos ? code : text.find('`', code + 1);
    if (end == std::string_view::npos) return line + plain(text.substr(begin));
    line += plain(text.substr(begin, code - begin)) + bold(text.substr(code + 1, end - code - 1));
    begin = end + 1;
  }
  return line;
}

std::string valueName(std::string_view text)
{
  std::string line;
  while (!text.empty()) {
    const auto end = std::ranges::find_if_not(text, isInWord);
    const std::string_view word = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    if (word.empty()) {
      line += escaped(text.front());
    } else {
      line += std::ranges::all_of(word, isUpper) ? italic(word) : bold(word);
    }
    text.remove_prefix(std::max<std::size_t>(word.size(), 1));
  }
  return line;
}

}  // namespace roff
