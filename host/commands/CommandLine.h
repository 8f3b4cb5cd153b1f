// Command line parsing for all commands: values are checked as they are parsed, and error messages name the
// option, the value and the possible values. Threads: one. Errors: a Failure with ExitCode::usage.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace command_line {

// `names` are the names of an option, "--output,-o", or the name of an argument, "FILE". `valueName` stands
// for the value in the help. Targets must outlive parsing. How a shell completes the value is kept in the
// option's type name, which the help does not show; completionOf() returns it.

using TextTaker = std::function<void(const std::string& text)>;

CLI::Option* addFlag(CLI::App& command, const std::string& names, bool& target, const std::string& help);

CLI::Option* addText(CLI::App& command, const std::string& names, const std::string& valueName,
                     const TextTaker& take, const std::string& help);

// May be repeated.
CLI::Option* addTexts(CLI::App& command, const std::string& names, const std::string& valueName,
                      const TextTaker& take, const std::string& help);

// Not empty. A shell completes it to a folder if the value's name is FOLDER, otherwise to any file.
CLI::Option* addPath(CLI::App& command, const std::string& names, const std::string& valueName,
                     std::filesystem::path& target, const std::string& help);

// One of the words, ignoring case; `take` gets it as spelled in `words`.
CLI::Option* addChoice(CLI::App& command, const std::string& names, const std::string& valueName,
                       const std::vector<std::string>& words, const TextTaker& take, const std::string& help);

struct NumberRange {
  double lowest;
  double highest;
};
CLI::Option* addNumber(CLI::App& command, const std::string& names, const std::string& valueName,
                       const NumberRange& range, const std::function<void(double)>& take,
                       const std::string& help);

struct WholeRange {
  std::uint64_t lowest;
  std::uint64_t highest;
};
CLI::Option* addWholeNumber(CLI::App& command, const std::string& names, const std::string& valueName,
                            const WholeRange& range, const std::function<void(std::uint64_t)>& take,
                            const std::string& help);

// For values that are names of files: `extensions`, "csv", are proposed first, or all files if there are
// none.
CLI::Option* completeFiles(CLI::Option* option, const std::vector<std::string>& extensions = {});

// For values that are often one of these words.
CLI::Option* completeWords(CLI::Option* option, const std::vector<std::string>& words);

// "files" or "files EXTENSION...", "folders", "words WORD..."; empty if only the user knows the value.
std::string completionOf(const CLI::Option& option);

// "tessel record"
std::string fullName(const CLI::App& command);

// Parses the arguments and runs the command, or prints help or version.
void run(CLI::App& program, int count, const char* const* arguments);

}  // namespace command_line
