#include "host/commands/LayoutOption.h"

#include "host/base/Console.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/gloves/SettingsFile.h"
#include "host/gloves/SimulatedHand.h"
#include "host/session/GloveLayout.h"

namespace fs = std::filesystem;

namespace {

std::optional<HandLayout> layoutNextTo(const fs::path& settings)
{
  const fs::path file = settings.parent_path() / "layout.json";
  std::error_code error;
  if (!fs::is_regular_file(file, error)) return std::nullopt;
  if (!HandLayout::isLayout(file)) {
    console::report("{} is no layout of a hand, and is not used.\n", utf8(file));
    return std::nullopt;
  }
  console::report("Layout: {}\n", utf8(file));
  return HandLayout::read(file);
}

}  // namespace

void addLayoutOption(CLI::App& command, LayoutOption& option, const std::string& help)
{
  using namespace command_line;
  completeFiles(addPath(command, "--layout", "FILE", option.file, help), {"json"});
}

std::optional<HandLayout> chooseLayout(const LayoutOption& option, const HardwareOptions& hardware,
                                       const settings::Values& settings)
{
  if (auto given = givenLayout(option)) return given;
  if (!hardware.settings.empty()) {
    if (auto found = layoutNextTo(hardware.settings)) return found;
  }
  // A simulated glove always has all of its elements, whatever part of them the settings record.
  const std::size_t elements = static_cast<std::size_t>(settings.elementCount) / glovesInRecord(settings);
  if (!hardware.isSimulated || elements != elementsOfGlove) return std::nullopt;
  return HandLayout::parse(nlohmann::ordered_json::parse(simulatedHand(elements)), "of the simulated hand");
}

std::optional<HandLayout> givenLayout(const LayoutOption& option)
{
  if (option.file.empty()) return std::nullopt;
  return HandLayout::read(option.file);
}
