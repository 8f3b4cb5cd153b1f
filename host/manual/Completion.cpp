#include "host/manual/Completion.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "host/commands/CommandLine.h"

namespace {

// A row: in single quotes, which need no escapes but for themselves.
std::string row(const std::string& key, const std::string& value)
{
  const auto quoted = [](std::string text) {
    return "'" + CLI::detail::find_and_replace(std::move(text), "'", "'\\''") + "'";
  };
  return fmt::format("  [{}]={}\n", quoted(key), quoted(value));
}

// What is to be known of a value that only the user knows: that it is none of the options.
std::string valueText(const CLI::Option& option)
{
  const std::string completion = command_line::completionOf(option);
  return completion.empty() ? "text" : completion;
}

std::string rowsOf(const CLI::App& command)
{
  const std::string name = command_line::fullName(command);
  std::string rows;
  std::string optionNames;
  int arguments = 0;
  for (const CLI::Option* const option : command.get_options()) {
    if (option->get_group().empty()) continue;
    if (option->get_positional()) {
      rows += row(fmt::format("{} {}", name, ++arguments), valueText(*option));
      continue;
    }
    for (const std::string& longName : option->get_lnames()) {
      optionNames += " --" + longName;
      if (option->get_expected_max() > 0)
        rows += row(fmt::format("{} --{}", name, longName), valueText(*option));
    }
    for (const std::string& shortName : option->get_snames()) {
      if (option->get_expected_max() > 0)
        rows += row(fmt::format("{} -{}", name, shortName), valueText(*option));
    }
  }
  std::string commands;
  for (const CLI::App* const child : command.get_subcommands({})) {
    if (child->get_group().empty()) continue;
    commands += " " + child->get_name();
    rows += rowsOf(*child);
  }
  if (!commands.empty()) rows += row(name + " 1", "words" + commands);
  return row(name, "words" + optionNames) + rows;
}

}  // namespace

std::string completionTable(const CLI::App& program)
{
  return "declare -gA _tessel_table=(\n" + rowsOf(program) + ")\n";
}
