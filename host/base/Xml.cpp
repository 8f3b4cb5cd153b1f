#include "host/base/Xml.h"

#include <algorithm>
#include <array>

#include "host/base/Characters.h"

namespace {

struct Entity {
  char character;
  std::string_view escaped;
};

constexpr std::array entities{Entity{'&', "&amp;"}, Entity{'<', "&lt;"}, Entity{'>', "&gt;"},
                              Entity{'"', "&quot;"}};

}  // namespace

std::string xmlText(std::string_view text)
{
  std::string xml;
  while (!text.empty()) {
    const auto [character, code, isPrintable] = firstCharacter(text);
    const auto* const entity = std::ranges::find(entities, character.front(), &Entity::character);
    if (!isPrintable) {
      xml += "\xEF\xBF\xBD";  // the replacement character
    } else {
      xml += entity == entities.end() ? character : entity->escaped;
    }
    text.remove_prefix(character.size());
  }
  return xml;
}

std::optional<std::string> xmlElement(std::string_view xml, std::string_view name)
{
  const std::string tag = std::string(name) + '>';
  const auto open = xml.find('<' + tag);
  if (open == std::string_view::npos) return std::nullopt;
  xml.remove_prefix(open + tag.size() + 1);
  const auto close = xml.find('<');
  if (close == std::string_view::npos || !xml.substr(close + 1).starts_with('/' + tag)) return std::nullopt;
  std::string text;
  for (xml = xml.substr(0, close); !xml.empty();) {
    const auto* const entity =
        std::ranges::find_if(entities, [&](const Entity& each) { return xml.starts_with(each.escaped); });
    text += entity == entities.end() ? xml.front() : entity->character;
    xml.remove_prefix(entity == entities.end() ? 1 : entity->escaped.size());
  }
  return text;
}
