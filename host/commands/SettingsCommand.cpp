// `tessel settings`: shows how the plug-in reads a settings file, with errors and warnings, or writes one.

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <memory>

#include "host/base/Console.h"
#include "host/base/OutputFile.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/gloves/SettingsFile.h"

namespace {

struct Options {
  std::filesystem::path file;
  bool writes = false;
  bool replaces = false;
  int gloves = 2;
  bool isJson = false;
};

void writeFile(const Options& options)
{
  PartFile output(options.file, PartFile::Kind::file, options.replaces);
  OutputFile file(output.growing());
  file.append(settingsText(valuesFor(options.gloves)));
  file.close();
  output.settle();
  if (!output.hasPlace()) return;
  console::print("Wrote {} for {}. Edit it with any editor, then check it with: tessel settings {}\n",
                 utf8(options.file), options.gloves == 1 ? "one glove" : "two gloves", utf8(options.file));
}

using Texts = std::map<std::wstring, std::string>;

Texts textsOf(settings::Values values)
{
  Texts texts;
  const settings::Binding binding(values);
  for (const auto& [name, satelite] : binding.registry()) {
    texts[name] = narrow(satelite->toString());
  }
  return texts;
}

void printTable(const SettingsReport& report, const Texts& defaults, const Texts& values)
{
  console::print("{:<30} {:<20} {:<12} {}\n", "setting", "value", "default", "from");
  for (const auto& [name, value] : values) {
    const auto line = report.lines.find(name);
    console::print("{:<30} {:<20} {:<12} {}\n", narrow(name), value, defaults.at(name),
                   line == report.lines.end() ? "default" : fmt::format("line {}", line->second));
  }
}

void printErrors(const SettingsReport& report)
{
  constexpr std::size_t maxShown = 20;
  if (report.isClean()) {
    console::print("\nNo errors.\n");
    return;
  }
  console::print("\nErrors and warnings, none of which the plug-in reports:\n");
  for (const std::string& line : errorLines(report, maxShown)) {
    console::print("{}\n", line);
  }
}

void printJson(const SettingsReport& report, const Texts& defaults, const Texts& values)
{
  nlohmann::ordered_json json;
  for (const auto& [name, value] : values) {
    const auto line = report.lines.find(name);
    json["settings"].push_back({{"key", narrow(name)},
                                {"value", value},
                                {"default", defaults.at(name)},
                                {"line", line == report.lines.end() ? 0 : line->second}});
  }
  json["errors"] = nlohmann::ordered_json::array();
  for (const SettingsError& error : report.errors) {
    json["errors"].push_back({{"line", error.line}, {"what", error.what}});
  }
  json["warnings"] = report.warnings;
  console::printJson(json);
}

ExitCode run(const Options& options)
{
  if (options.writes) {
    writeFile(options);
    return ExitCode::done;
  }
  const Texts defaults = textsOf({});
  const SettingsReport report = readSettings(options.file);
  const Texts values = textsOf(report.values);
  if (options.isJson) {
    printJson(report, defaults, values);
  } else {
    printTable(report, defaults, values);
    printErrors(report);
  }
  return report.isClean() ? ExitCode::done : ExitCode::settings;
}

}  // namespace

void addSettings(CLI::App& tessel, ExitCode& exitCode)
{
  using namespace command_line;
  const auto options = std::make_shared<Options>();
  CLI::App& command = addCommand(tessel, "settings",
                                 "Shows how the plug-in reads a settings file, with all errors and "
                                 "warnings, or writes a new one.");
  addPath(command, "FILE", "FILE", options->file, "the settings file").required();
  addFlag(command, "--write", options->writes, "Write a new settings file with comments");
  addChoice(
      command, "--gloves", "1|2 [2]", {"1", "2"},
      [&target = *options](const std::string& count) { target.gloves = count == "1" ? 1 : 2; },
      "With --write: number of gloves");
  addFlag(command, "--force", options->replaces, "With --write: replace an existing file");
  addFlag(command, "--json", options->isJson, "Print JSON");
  setNotes(command,
           "Examples:  tessel settings gloves.txt --write\n"
           "           tessel settings gloves.txt\n"
           "The exit code is 3 if there are errors or warnings.");
  onRun(command, [options, &exitCode] { exitCode = run(*options); });
}
