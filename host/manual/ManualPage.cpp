#include "host/manual/ManualPage.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>

#include "host/base/EnvironmentVariables.h"
#include "host/base/ExitCode.h"
#include "host/commands/CommandLine.h"
#include "host/manual/HelpNotes.h"
#include "host/manual/Roff.h"

namespace {

// Commands and options without a group are hidden from the help, too.
template <class Part>
bool isShown(const Part* part)
{
  return !part->get_group().empty();
}

std::vector<const CLI::App*> commandsOf(const CLI::App& command)
{
  std::vector<const CLI::App*> commands = command.get_subcommands(isShown<CLI::App>);
  return commands;
}

std::string section(std::string_view title, const std::string& content)
{
  return content.empty() ? "" : fmt::format(".SH {}\n{}", title, content);
}

std::string item(const std::string& tag, const std::string& text)
{
  return fmt::format(".TP\n{}\n{}\n", tag, text);
}

std::string reference(const CLI::App& command)
{
  return roff::bold(manualPageName(command)) + "(1)";
}

// "Draws a recording." as the line that `whatis` prints: "draws a recording".
std::string summary(const std::string& description)
{
  std::string text = description.substr(0, description.find(". "));
  if (text.ends_with('.')) text.pop_back();
  if (!text.empty()) text.front() = CLI::detail::to_lower(text.substr(0, 1)).front();
  return text;
}

std::string synopsis(const CLI::App& command)
{
  std::string line = roff::bold(command_line::fullName(command));
  if (!commandsOf(command).empty()) return line + " \\fICOMMAND\\fR [\\fIARGUMENT\\fR]...\n";
  line += " [\\fIOPTION\\fR]...";
  for (const CLI::Option* const option : command.get_options()) {
    if (!option->get_positional()) continue;
    const std::string name = roff::valueName(option->get_name(true));
    line += option->get_required() ? " " + name : " [" + name + "]";
  }
  return line + "\n";
}

std::string optionTag(const CLI::Option& option)
{
  if (option.get_positional()) return roff::valueName(option.get_name(true));
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) {
    names.push_back(roff::bold("-" + name));
  }
  for (const std::string& name : option.get_lnames()) {
    names.push_back(roff::bold("--" + name));
  }
  const std::string& value = option.get_option_text();
  return fmt::format("{}{}{}", fmt::join(names, ", "), value.empty() ? "" : " ", roff::valueName(value));
}

std::string options(const CLI::App& command, bool arePositional)
{
  std::string items;
  for (const CLI::Option* const option : command.get_options(isShown<CLI::Option>)) {
    if (option->get_positional() != arePositional) continue;
    items += item(optionTag(*option), roff::prose(option->get_description()));
  }
  return items;
}

// An explanation is set apart from the example by two spaces or more.
std::string examples(const HelpNotes& notes)
{
  std::string items;
  for (const HelpNotes::List& list : notes.lists) {
    if (!list.isExamples()) continue;
    for (const std::string& line : list.lines) {
      const std::size_t end = std::min(line.find("  "), line.size());
      const std::size_t text = line.find_first_not_of(' ', end);
      const std::string example = roff::bold(line.substr(0, end));
      if (text != std::string::npos) {
        items += item(example, roff::prose(line.substr(text)));
      } else {
        items += fmt::format("{}{}\n", items.empty() ? "" : ".PP\n", example);
      }
    }
  }
  return items;
}

std::string description(const CLI::App& command, const HelpNotes& notes)
{
  std::string text = roff::prose(command.get_description()) + "\n";
  for (const std::string& paragraph : notes.paragraphs) {
    text += fmt::format(".PP\n{}\n", roff::prose(paragraph));
  }
  for (const HelpNotes::List& list : notes.lists) {
    if (list.isExamples()) continue;
    text += fmt::format(".SS {}\n.nf\n", roff::plain(list.title));
    for (const std::string& line : list.lines) {
      text += roff::plain(line) + "\n";
    }
    text += ".fi\n";
  }
  return text;
}

std::string exitCodes()
{
  std::string items;
  for (int number = 0; number <= maxExitCode; ++number) {
    const char* const text = meaning(static_cast<ExitCode>(number));
    if (text != nullptr) items += item(roff::bold(std::to_string(number)), roff::prose(text));
  }
  return items;
}

std::string environmentVariables()
{
  std::string items;
  for (const environment::Variable& variable : environment::variables) {
    items += item(roff::bold(variable.name), roff::prose(variable.meaning));
  }
  return items;
}

std::string commandItems(const CLI::App& program)
{
  std::string items;
  for (const CLI::App* const command : commandsOf(program)) {
    items += item(reference(*command), roff::prose(command->get_description()));
  }
  return items;
}

}  // namespace

std::string manualPageName(const CLI::App& command)
{
  std::string name = command_line::fullName(command);
  std::ranges::replace(name, ' ', '-');
  return name;
}

std::string manualPage(const CLI::App& command, std::string_view version)
{
  const std::string name = manualPageName(command);
  const HelpNotes notes(command.get_footer());
  const CLI::App* const program = command.get_parent();
  std::string page =
      fmt::format(".TH {} 1 \"\" \"{}\" \"HwTessel\"\n", roff::plain(name), roff::plain(version));
  page += section(
      "NAME", fmt::format("{} \\- {}\n", roff::plain(name), roff::plain(summary(command.get_description()))));
  page += section("SYNOPSIS", synopsis(command));
  page += section("DESCRIPTION", description(command, notes));
  page += section("COMMANDS", commandItems(command));
  page += section("ARGUMENTS", options(command, true));
  page += section("OPTIONS", options(command, false));
  page += section("EXAMPLES", examples(notes));
  if (program != nullptr) {
    page +=
        section("EXIT STATUS", fmt::format("0 if it succeeded. {} lists all exit codes, and the environment "
                                           "variables.\n",
                                           reference(*program)));
    return page + section("SEE ALSO", reference(*program) + "\n");
  }
  return page + section("EXIT STATUS", exitCodes()) + section("ENVIRONMENT", environmentVariables());
}
