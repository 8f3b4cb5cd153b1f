#include "host/commands/CommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <memory>
#include <span>
#include <sstream>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/commands/NearestWord.h"

namespace command_line {

namespace {

// What a type name begins with that says how a value is completed; others are the library's.
constexpr std::string_view completionMark = "complete ";

void complete(CLI::Option& option, const std::string& kind, const std::vector<std::string>& words = {})
{
  std::string type = std::string(completionMark) + kind;
  for (const std::string& word : words) {
    type += " " + word;
  }
  option.type_name(type);
}

Failure usage(const CLI::App& command, const std::string& what)
{
  return {ExitCode::usage, what, fmt::format("See: {} --help", fullName(command))};
}

// Ends an error message with a suggestion, if there is one.
std::string didYouMean(const std::string& word, const std::vector<std::string>& words)
{
  const std::string nearest = nearestWord(word, words);
  return nearest.empty() ? "." : fmt::format("; did you mean {}?", nearest);
}

Failure refused(const CLI::App& command, const std::string& names, const std::string& possible,
                const std::string& text, const std::string& end = ".")
{
  return usage(command,
               fmt::format("{} takes {}, not '{}'{}", names.substr(0, names.find(',')), possible, text, end));
}

// True if the whole text is a number.
template <class Number>
bool isRead(const std::string& text, Number& number)
{
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, number);
  return error == std::errc() && end == last;
}

// The library's format, wrapped at 80 columns.
class HelpFormatter final : public CLI::Formatter {
 public:
  // The library would add what an option requires and excludes, in words for programmers.
  std::string make_option_opts(const CLI::Option* option) const override
  {
    const std::string& text = option->get_option_text();
    return option->get_positional() || text.empty() ? "" : " " + text;
  }

  std::string make_option_desc(const CLI::Option* option) const override
  {
    return wrapped(option->get_description(), columns - column_width_);
  }

  std::string make_description(const CLI::App* command) const override
  {
    return wrapped(command->get_description(), columns) + "\n";
  }

  std::string make_subcommand(const CLI::App* command) const override
  {
    std::ostringstream text;
    CLI::detail::format_help(text, command->get_name(),
                             wrapped(command->get_description(), columns - column_width_), column_width_);
    return text.str();
  }

 private:
  static constexpr std::size_t columns = 80;

  static std::string wrapped(const std::string& text, std::size_t width)
  {
    std::string lines;
    std::size_t column = 0;
    std::istringstream words(text);
    for (std::string word; words >> word; column += word.size()) {
      const bool fits = column + 1 + word.size() <= width;
      if (column > 0) lines += fits ? ' ' : '\n';
      column = fits && column > 0 ? column + 1 : 0;
      lines += word;
    }
    return lines;
  }
};

std::vector<std::string> optionNames(const CLI::App& command)
{
  std::vector<std::string> names;
  for (const CLI::Option* const option : command.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back("--" + name);
    }
  }
  return names;
}

std::vector<std::string> commandNames(const CLI::App& program)
{
  std::vector<std::string> names;
  for (const CLI::App* const command : program.get_subcommands({})) {
    names.push_back(command->get_name());
  }
  return names;
}

// For an unknown option, command or argument.
Failure unexpected(const CLI::App& command, const std::string& argument)
{
  if (argument.starts_with('-') && argument.size() > 1) {
    const std::string name = argument.substr(0, argument.find('='));
    return usage(command,
                 fmt::format("there is no option '{}'{}", name, didYouMean(name, optionNames(command))));
  }
  if (command.get_parent() == nullptr) {
    return usage(command, fmt::format("there is no command '{}'{}", argument,
                                      didYouMean(argument, commandNames(command))));
  }
  return usage(command, fmt::format("unexpected argument '{}'.", argument));
}

// Checks a present option against those that it excludes or requires.
std::string conflict(const CLI::Option& option)
{
  for (const CLI::Option* const other : option.get_excludes()) {
    if (other->count() > 0) {
      return fmt::format("{} and {} can't be used together.", option.get_name(), other->get_name());
    }
  }
  for (const CLI::Option* const other : option.get_needs()) {
    if (other->count() == 0) return fmt::format("{} requires {}.", option.get_name(), other->get_name());
  }
  return "";
}

// Finds the option that is at fault and replaces the library's message, which is written for programmers.
Failure explained(const CLI::App& program, const CLI::ParseError& error)
{
  const auto commands = program.get_subcommands();
  const CLI::App& command = commands.empty() ? program : *commands.front();
  const auto unknown = program.remaining(true);
  if (!unknown.empty()) return unexpected(command, unknown.front());
  const std::string words = error.what();
  for (const CLI::Option* const option : command.get_options()) {
    const std::string name = option->get_name();
    if (option->get_required() && option->count() == 0) {
      return usage(command,
                   fmt::format("{} needs {}: {}.", fullName(command), name, option->get_description()));
    }
    const std::string what = option->count() > 0 ? conflict(*option) : "";
    if (!what.empty()) return usage(command, what);
    const bool isFlag = option->get_expected_max() == 0;
    if (!words.starts_with(name + ":") && !(isFlag && words.starts_with(name.substr(2) + " "))) continue;
    if (isFlag) return usage(command, fmt::format("{} takes no value.", name));
    if (option->count() > 1) {
      return usage(command, fmt::format("{} was given {} times; use it once.", name, option->count()));
    }
    return usage(command, fmt::format("{} needs a value: {}.", name, option->get_option_text()));
  }
  return usage(command, words);
}

}  // namespace

CLI::App& addCommand(CLI::App& program, const std::string& name, const std::string& description)
{
  return *program.add_subcommand(name, description);
}

void onRun(CLI::App& command, const std::function<void()>& run)
{
  command.callback(run);
}

void setNotes(CLI::App& command, const std::string& notes)
{
  command.footer(notes);
}

const Option& Option::required() const
{
  option_->required();
  return *this;
}

const Option& Option::needs(const Option& other) const
{
  option_->needs(other.option_);
  return *this;
}

const Option& Option::needs(const std::string& name) const
{
  option_->needs(name);
  return *this;
}

const Option& Option::excludes(const Option& other) const
{
  option_->excludes(other.option_);
  return *this;
}

const Option& Option::completeFiles(const std::vector<std::string>& extensions) const
{
  complete(*option_, "files", extensions);
  return *this;
}

const Option& Option::completeWords(const std::vector<std::string>& words) const
{
  complete(*option_, "words", words);
  return *this;
}

std::vector<Option> optionsOf(CLI::App& command)
{
  std::vector<Option> options;
  for (CLI::Option* const option : command.get_options()) {
    if (!option->get_lnames().empty() && !option->check_name("--help")) options.emplace_back(option);
  }
  return options;
}

Option addFlag(CLI::App& command, const std::string& names, bool& target, const std::string& help)
{
  return Option(command.add_flag(names, target, help)->disable_flag_override());
}

Option addText(CLI::App& command, const std::string& names, const std::string& valueName,
               const TextTaker& take, const std::string& help)
{
  // The library would accept the next option as the value.
  const auto takeValue = [&command, names, valueName, take](const std::string& text) {
    if (names.starts_with('-') && text.starts_with("--")) {
      throw usage(command, fmt::format("{} needs a value: {}; '{}' is an option.",
                                       names.substr(0, names.find(',')), valueName, text));
    }
    take(text);
  };
  return Option(command.add_option_function<std::string>(names, takeValue, help)->option_text(valueName));
}

Option addTexts(CLI::App& command, const std::string& names, const std::string& valueName,
                const TextTaker& take, const std::string& help)
{
  const auto takeAll = [take](const std::vector<std::string>& texts) { std::ranges::for_each(texts, take); };
  return Option(command.add_option_function<std::vector<std::string>>(names, takeAll, help)
                    ->option_text(valueName)
                    ->allow_extra_args(false));
}

Option addPath(CLI::App& command, const std::string& names, const std::string& valueName,
               std::filesystem::path& target, const std::string& help)
{
  const auto take = [&command, &target, names, valueName](const std::string& text) {
    if (text.empty())
      throw refused(command, names, "the name of a " + CLI::detail::to_lower(valueName), text);
    target = text;
  };
  const Option option = addText(command, names, valueName, take, help);
  complete(*option.get(), valueName == "FOLDER" ? "folders" : "files");
  return option;
}

Option addChoice(CLI::App& command, const std::string& names, const std::string& valueName,
                 const std::vector<std::string>& words, const TextTaker& take, const std::string& help)
{
  const auto choose = [&command, names, words, take](const std::string& text) {
    const std::string lower = CLI::detail::to_lower(text);
    if (std::ranges::find(words, lower) != words.end()) return take(lower);
    const std::string possible = fmt::to_string(fmt::join(words.begin(), words.end() - 1, ", "));
    throw refused(command, names, fmt::format("{} or {}", possible, words.back()), text,
                  didYouMean(lower, words));
  };
  return addText(command, names, valueName, choose, help).completeWords(words);
}

Option addNumber(CLI::App& command, const std::string& names, const std::string& valueName,
                 const NumberRange& range, const std::function<void(double)>& take, const std::string& help)
{
  const auto read = [&command, names, range, take](const std::string& text) {
    double number = 0;
    if (!isRead(text, number) || !(number >= range.lowest && number <= range.highest)) {
      throw refused(command, names, fmt::format("a number from {:g} to {:.0f}", range.lowest, range.highest),
                    text);
    }
    take(number);
  };
  return addText(command, names, valueName, read, help);
}

Option addWholeNumber(CLI::App& command, const std::string& names, const std::string& valueName,
                      const WholeRange& range, const std::function<void(std::uint64_t)>& take,
                      const std::string& help)
{
  const auto read = [&command, names, range, take](const std::string& text) {
    std::uint64_t number = 0;
    if (!isRead(text, number) || number < range.lowest || number > range.highest) {
      throw refused(command, names, fmt::format("a whole number from {} to {}", range.lowest, range.highest),
                    text);
    }
    take(number);
  };
  return addText(command, names, valueName, read, help);
}

std::string completionOf(const CLI::Option& option)
{
  const std::string type = option.get_type_name();
  return type.starts_with(completionMark) ? type.substr(completionMark.size()) : "";
}

std::string fullName(const CLI::App& command)
{
  const CLI::App* const parent = command.get_parent();
  return parent == nullptr ? command.get_name() : fullName(*parent) + " " + command.get_name();
}

void run(CLI::App& program, int count, const char* const* arguments)
{
  // The library would take the next argument as the value.
  for (const std::string_view argument : std::span(arguments, static_cast<std::size_t>(count))) {
    if (argument.starts_with("--") && argument.find('=') == argument.size() - 1) {
      throw usage(program, fmt::format("there is no value after '{}'.", argument));
    }
  }
  const auto formatter = std::make_shared<HelpFormatter>();
  program.formatter(formatter);
  for (CLI::App* const command : program.get_subcommands({})) {
    command->formatter(formatter);
  }
  try {
    program.parse(count, arguments);
  } catch (const CLI::CallForHelp&) {
    console::printLines(program.help());
    return;
  } catch (const CLI::CallForVersion& version) {
    console::print("{}\n", version.what());
    return;
  } catch (const CLI::ParseError& error) {
    throw explained(program, error);
  }
  if (program.get_subcommands().empty()) console::printLines(program.help());
}

}  // namespace command_line
