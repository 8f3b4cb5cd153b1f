#include "simulator/WordReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <utility>

namespace simulator {

namespace {

constexpr std::string_view spaces = " \t\r";

std::string_view trimmed(std::string_view text)
{
  const std::size_t first = text.find_first_not_of(spaces);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(spaces) + 1 - first);
}

char lowered(char letter)
{
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

template <class... Base>
bool isRead(std::string_view text, auto& value, Base... base)
{
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, value, base...);
  return error == std::errc() && end == last;
}

[[noreturn]] void refuse(std::string_view name, const std::string& wanted, std::string_view word)
{
  throw std::invalid_argument(toText(name, " must be ", wanted, ", not '", word, "'"));
}

}  // namespace

bool isSameWord(std::string_view left, std::string_view right)
{
  return std::ranges::equal(left, right, {}, lowered, lowered);
}

std::string listOf(std::span<const std::string_view> choices)
{
  std::string list;
  for (std::size_t index = 0; index < choices.size(); ++index) {
    if (index > 0) list += index + 1 == choices.size() ? " or " : ", ";
    list += choices[index];
  }
  return list;
}

WordReader::WordReader(std::string_view line) : rest_(trimmed(line)) {}

std::string_view WordReader::peek() const
{
  return rest_.substr(0, rest_.find_first_of(spaces));
}

std::string_view WordReader::word(std::string_view name)
{
  if (atEnd()) throw std::invalid_argument(toText(name, " is missing"));
  const std::string_view word = peek();
  rest_ = trimmed(rest_.substr(word.size()));
  return word;
}

double WordReader::number(std::string_view name, double lowest, double highest)
{
  const std::string_view text = word(name);
  double value = 0;
  if (!isRead(text, value) || std::isnan(value) || value < lowest || value > highest) {
    refuse(name, toText("a number from ", lowest, " to ", highest), text);
  }
  return value;
}

std::uint32_t WordReader::integer(std::string_view name, std::uint32_t lowest, std::uint32_t highest)
{
  const std::string_view text = word(name);
  std::uint32_t value = 0;
  const bool isHexadecimal = isSameWord(text.substr(0, 2), "0x");
  const bool isNumber = isHexadecimal ? isRead(text.substr(2), value, 16) : isRead(text, value);
  if (!isNumber || value < lowest || value > highest) {
    refuse(name, toText("a whole number from ", lowest, " to ", highest), text);
  }
  return value;
}

std::size_t WordReader::choice(std::string_view name, std::span<const std::string_view> choices)
{
  const std::string_view text = word(name);
  const auto found = std::ranges::find_if(
      choices, [text](std::string_view candidate) { return isSameWord(candidate, text); });
  if (found == choices.end()) refuse(name, listOf(choices), text);
  return static_cast<std::size_t>(found - choices.begin());
}

bool WordReader::onOrOff()
{
  constexpr std::array<std::string_view, 2> choices{"on", "off"};
  return choice("the word", choices) == 0;
}

std::string_view WordReader::text(std::string_view name)
{
  if (atEnd()) throw std::invalid_argument(toText(name, " is missing"));
  return std::exchange(rest_, {});
}

void WordReader::end()
{
  if (!atEnd()) throw std::invalid_argument(toText("unexpected argument '", rest_, "'"));
}

}  // namespace simulator
