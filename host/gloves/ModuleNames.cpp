#include "host/gloves/ModuleNames.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr std::string_view leftGlove = "KVXGL";
constexpr std::string_view rightGlove = "KVXGR";
constexpr std::array gloves{leftGlove, rightGlove, std::string_view("KVXSS")};
constexpr std::size_t serialLength = 5;

bool beginsAName(std::string_view text)
{
  return std::ranges::any_of(gloves, [&](std::string_view letters) { return text.starts_with(letters); });
}

// The end of the first name: the first colon that is followed by another name, because names may contain
// colons. If no known name follows, for example because it was truncated, the first colon.
std::size_t endOfName(std::string_view names)
{
  for (std::size_t colon = names.find(':'); colon < names.size(); colon = names.find(':', colon + 1)) {
    if (beginsAName(names.substr(colon + 1))) return colon;
  }
  return std::min(names.find(':'), names.size());
}

}  // namespace

std::vector<std::string> parseModuleMap(std::wstring_view wide)
{
  std::string map(wide.size(), '\0');
  std::ranges::transform(wide, map.begin(), [](wchar_t byte) { return static_cast<char>(byte); });
  constexpr std::size_t maxModules = 16;  // far more than the radio supports
  std::size_t count = 0;
  const auto [end, error] = std::from_chars(map.data(), map.data() + map.size(), count);
  if (error != std::errc() || count > maxModules) return {};
  std::string_view rest(end, map.data() + map.size());
  std::vector<std::string> names;
  while (names.size() < count) {
    rest.remove_prefix(std::min<std::size_t>(1, rest.size()));  // the colon
    const std::size_t length = names.size() + 1 < count ? endOfName(rest) : rest.size();
    names.emplace_back(rest.substr(0, length));
    rest.remove_prefix(length);
  }
  return names;
}

std::string sideOfModule(std::string_view name)
{
  if (name.starts_with(leftGlove)) return "left";
  if (name.starts_with(rightGlove)) return "right";
  return "glove";
}

int serialNumberOfModule(std::string_view name)
{
  if (!beginsAName(name)) return 0;
  const std::string_view digits = name.substr(leftGlove.size(), serialLength);
  int number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return std::max(number, 0);
}
