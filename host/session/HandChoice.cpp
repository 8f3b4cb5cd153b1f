#include "host/session/HandChoice.h"

#include <fmt/format.h>

#include "host/base/Text.h"
#include "host/gloves/SettingsFile.h"
#include "host/gloves/SimulatedHand.h"
#include "host/session/GloveLayout.h"

namespace fs = std::filesystem;

namespace {

std::optional<HandLayout> handsNextTo(const fs::path& settings, const Notice& notice)
{
  const fs::path file = settings.parent_path() / "layout.json";
  std::error_code error;
  if (!fs::is_regular_file(file, error)) return std::nullopt;
  if (!HandLayout::isLayout(file)) {
    notice(fmt::format("{} is no layout of a hand, and is not used.", utf8(file)));
    return std::nullopt;
  }
  notice(fmt::format("Layout: {}", utf8(file)));
  return HandLayout::read(file);
}

}  // namespace

std::optional<HandLayout> chooseHands(const fs::path& file, const HardwareOptions& hardware,
                                      const settings::Values& settings)
{
  if (!file.empty()) return HandLayout::read(file);
  if (!hardware.settings.empty()) {
    if (auto found = handsNextTo(hardware.settings, hardware.notice)) return found;
  }
  // A simulated glove always has all of its elements, whatever part of them the settings record.
  const std::size_t elements = static_cast<std::size_t>(settings.elementCount) / glovesInRecord(settings);
  if (!hardware.isSimulated || elements != elementsOfGlove) return std::nullopt;
  return HandLayout::parse(nlohmann::ordered_json::parse(simulatedHand(elements)), "of the simulated hand");
}
