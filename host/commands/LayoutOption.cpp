#include "host/commands/LayoutOption.h"

#include "host/commands/CommandLine.h"

void addLayoutOption(CLI::App& command, std::filesystem::path& file, const std::string& help)
{
  using namespace command_line;
  addPath(command, "--layout", "FILE", file, help).completeFiles({"json"});
}

std::optional<HandLayout> givenLayout(const std::filesystem::path& file)
{
  if (file.empty()) return std::nullopt;
  return HandLayout::read(file);
}
