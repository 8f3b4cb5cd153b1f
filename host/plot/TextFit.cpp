#include "host/plot/TextFit.h"

#include "host/base/Characters.h"

namespace {

constexpr std::string_view ellipsis = "\xE2\x80\xA6";

// In units of the font size.
double characterWidth(const Character& character)
{
  constexpr std::string_view narrow = " !'(),-./:;I[]fijlrt|";
  constexpr std::string_view wide = "%@MWmw";
  if (character.bytes.size() > 1) return 1;
  if (narrow.find(character.bytes) != std::string_view::npos) return 0.42;
  if (wide.find(character.bytes) != std::string_view::npos) return 1;
  const bool isCapital = character.bytes >= "A" && character.bytes <= "Z";
  return isCapital ? 0.78 : 0.65;
}

}  // namespace

double textWidth(std::string_view text, double fontSize)
{
  double width = 0;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    width += fontSize * characterWidth(character);
    text.remove_prefix(character.bytes.size());
  }
  return width;
}

std::string shortened(std::string_view text, double width, double fontSize)
{
  if (textWidth(text, fontSize) <= width) return std::string(text);
  double used = textWidth(ellipsis, fontSize);
  std::size_t size = 0;
  for (;;) {
    const Character character = firstCharacter(text.substr(size));
    used += fontSize * characterWidth(character);
    if (used > width) return std::string(text.substr(0, size)) += ellipsis;
    size += character.bytes.size();
  }
}
