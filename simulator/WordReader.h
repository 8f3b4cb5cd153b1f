// The words of a line of text, taken one after the other and read as what is wanted. A word that does not fit
// throws std::invalid_argument, which says what it should be.
#pragma once

#include <cstdint>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

namespace simulator {

// Written one after the other.
std::string toText(const auto&... parts)
{
  std::ostringstream text;
  (text << ... << parts);
  return text.str();
}

// Words that mean the same whether written in capitals or not.
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

  // `name` is what the word stands for, in messages.
  std::string_view word(std::string_view name);
  double number(std::string_view name, double lowest, double highest);
  // Also in hexadecimal, 0x...
  std::uint32_t integer(std::string_view name, std::uint32_t lowest, std::uint32_t highest);
  // The index of the choice.
  std::size_t choice(std::string_view name, std::span<const std::string_view> choices);
  // "on" or "off"
  bool onOrOff();
  // All that is left, with the spaces in it.
  std::string_view text(std::string_view name);
  // Nothing may be left.
  void end();

 private:
  std::string_view rest_;
};

}  // namespace simulator
