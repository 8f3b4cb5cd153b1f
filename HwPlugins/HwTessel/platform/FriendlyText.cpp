#include "platform/FriendlyText.h"

#include <cctype>
#include <charconv>

namespace platform {

namespace {

bool isSpace(char character)
{
  return std::isspace(static_cast<unsigned char>(character)) != 0;
}

void skipSpace(std::string_view& text)
{
  while (!text.empty() && isSpace(text.front())) {
    text.remove_prefix(1);
  }
}

}  // namespace

std::optional<std::int32_t> portNumber(std::string_view friendlyText, const std::string& name)
{
  // A pattern is cut after this many characters; a name so long that its number is cut off matches nothing.
  constexpr std::size_t maxPattern = 259;
  constexpr std::string_view numberPrefix = " (COM";
  constexpr std::string_view numberMark = "%d";
  const std::string pattern = name + std::string(numberPrefix);
  if (pattern.size() + numberMark.size() > maxPattern) return std::nullopt;

  std::string_view text = friendlyText;
  for (const char expected : pattern) {
    if (isSpace(expected)) {
      skipSpace(text);
    } else if (!text.empty() && text.front() == expected) {
      text.remove_prefix(1);
    } else {
      return std::nullopt;
    }
  }
  skipSpace(text);
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() ? std::optional(number) : std::nullopt;
}

}  // namespace platform
