#include "host/session/GloveLayout.h"

#include <fmt/format.h>

#include "host/gloves/ModuleNames.h"

std::size_t glovesInRecord(const settings::Values& settings)
{
  return settings.numSensors == 1 ? 1 : 2;
}

Layout gloveLayout(const settings::Values& settings, const std::vector<std::string>& modules)
{
  const auto gloveElements = static_cast<std::size_t>(settings.elementCount);
  const std::size_t gloves = glovesInRecord(settings);
  const std::size_t perGlove = gloveElements / gloves;
  Layout layout{.elements = gloveElements + static_cast<std::size_t>(settings.auxCount), .groups = {}};
  for (std::size_t glove = 0; glove < gloves; ++glove) {
    const std::string module = glove < modules.size() ? modules[glove] : "";
    layout.groups.push_back({sideOfModule(module), module, glove * perGlove, perGlove});
  }
  if (gloves == 2 && layout.groups[0].label == layout.groups[1].label) {
    for (std::size_t glove = 0; glove < gloves; ++glove) {
      layout.groups[glove].label = fmt::format("glove{}", glove + 1);
    }
  }
  const std::size_t filled = gloves * perGlove;
  if (layout.elements > filled) layout.groups.push_back({"aux", "", filled, layout.elements - filled});
  return layout;
}
