// Command line parsing for all commands: values are checked as they are parsed, and error messages name the
// option, the value and the possible values. Threads: one. Errors: a Failure with ExitCode::usage.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Only the sources that need it include the library, which takes seconds to compile.
namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace command_line {

// Adds a subcommand; `run` is called when the arguments name it.
CLI::App& addCommand(CLI::App& program, const std::string& name, const std::string& description);
void onRun(CLI::App& command, const std::function<void()>& run);

// What the help shows below the options.
void setNotes(CLI::App& command, const std::string& notes);

// An option or argument of a command. Copies are the same option, which the command owns.
class Option {
 public:
  explicit Option(CLI::Option* option) : option_(option) {}

  const Option& required() const;
  const Option& needs(const Option& other) const;
  const Option& needs(const std::string& name) const;
  const Option& excludes(const Option& other) const;
  // For values that are names of files: `extensions`, "csv", are proposed first, or all files if there are
  // none.
  const Option& completeFiles(const std::vector<std::string>& extensions = {}) const;
  // For values that are often one of these words.
  const Option& completeWords(const std::vector<std::string>& words) const;
  CLI::Option* get() const { return option_; }

 private:
  CLI::Option* option_;
};

// Of a command, so far; without --help and arguments.
std::vector<Option> optionsOf(CLI::App& command);

// `names` are the names of an option, "--output,-o", or the name of an argument, "FILE". `valueName` stands
// for the value in the help. Targets must outlive parsing. How a shell completes the value is kept in the
// option's type name, which the help does not show; completionOf() returns it.

using TextTaker = std::function<void(const std::string& text)>;

Option addFlag(CLI::App& command, const std::string& names, bool& target, const std::string& help);

Option addText(CLI::App& command, const std::string& names, const std::string& valueName,
               const TextTaker& take, const std::string& help);

// May be repeated.
Option addTexts(CLI::App& command, const std::string& names, const std::string& valueName,
                const TextTaker& take, const std::string& help);

// Not empty. A shell completes it to a folder if the value's name is FOLDER, otherwise to any file.
Option addPath(CLI::App& command, const std::string& names, const std::string& valueName,
               std::filesystem::path& target, const std::string& help);

// One of the words, ignoring case; `take` gets it as spelled in `words`.
Option addChoice(CLI::App& command, const std::string& names, const std::string& valueName,
                 const std::vector<std::string>& words, const TextTaker& take, const std::string& help);

struct NumberRange {
  double lowest;
  double highest;
};
Option addNumber(CLI::App& command, const std::string& names, const std::string& valueName,
                 const NumberRange& range, const std::function<void(double)>& take, const std::string& help);

struct WholeRange {
  std::uint64_t lowest;
  std::uint64_t highest;
};
Option addWholeNumber(CLI::App& command, const std::string& names, const std::string& valueName,
                      const WholeRange& range, const std::function<void(std::uint64_t)>& take,
                      const std::string& help);

// "files" or "files EXTENSION...", "folders", "words WORD..."; empty if only the user knows the value.
std::string completionOf(const CLI::Option& option);

// "tessel record"
std::string fullName(const CLI::App& command);

// Parses the arguments and runs the command, or prints help or version.
void run(CLI::App& program, int count, const char* const* arguments);

}  // namespace command_line
