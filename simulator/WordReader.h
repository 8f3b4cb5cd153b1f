// Parses a line of text word by word. A word that does not fit throws std::invalid_argument, whose message
// says what is expected.
#pragma once

#include <cstdint>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

namespace simulator {

// Concatenates the parts as text.
std::string toText(const auto&... parts)
{
  std::ostringstream text;
  (text << ... << parts);
  return text.str();
}

// Compares words regardless of case.
bool isSameWord(std::string_view left, std::string_view right);

// "left, right or both"
std::string listOf(std::span<const std::string_view> choices);

class WordReader {
 public:
  // The line must outlive it.
  explicit WordReader(std::string_view line);

  bool atEnd() const { return rest_.empty(); }
  // Empty at the end.
  std::string_view peek() const;
  std::string_view rest() const { return rest_; }

  // `name` describes the word in messages.
  std::string_view word(std::string_view name);
  double number(std::string_view name, double lowest, double highest);
  // Also in hexadecimal, 0x...
  std::uint32_t integer(std::string_view name, std::uint32_t lowest, std::uint32_t highest);
  // The index of the choice.
  std::size_t choice(std::string_view name, std::span<const std::string_view> choices);
  // "on" or "off"
  bool onOrOff();
  // The rest of the line, including spaces.
  std::string_view text(std::string_view name);
  // Fails unless all words are read.
  void end();

 private:
  std::string_view rest_;
};

}  // namespace simulator
