// `tessel convert`: writes a recording in another format, or a table of its samples.

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/PartFile.h"
#include "host/base/StatusLine.h"
#include "host/base/StopRequest.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/LayoutOption.h"
#include "host/recording/Conversion.h"
#include "host/recording/OutputName.h"

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

using Format = std::variant<RecordFormat, TableKind>;

struct TableName {
  const char* name;
  TableKind kind;
};
constexpr std::array tableNames{TableName{"tidy", TableKind::tidy}, TableName{"regions", TableKind::regions}};

struct ConvertOptions {
  Conversion conversion{.from = {}, .to = {}, .format = RecordFormat::csv};
  std::optional<Format> format;
  std::filesystem::path layout;  // of the hand; empty: the recording's own
};

std::vector<std::string> allFormats()
{
  std::vector<std::string> formats = formatNames();
  for (const TableName& table : tableNames) {
    formats.emplace_back(table.name);
  }
  return formats;
}

Format formatWithName(const std::string& name)
{
  for (const TableName& table : tableNames) {
    if (name == table.name) return table.kind;
  }
  return formatNamed(name);
}

Format chooseFormat(const fs::path& output, const std::optional<Format>& format)
{
  const auto named = formatOf(output);
  if (!format && named) return *named;
  const std::string formats = fmt::to_string(fmt::join(allFormats(), ", "));
  if (!format) {
    throw Failure(
        ExitCode::usage, fmt::format("{} does not say which format to write.", utf8(output)),
        fmt::format("Add --format with one of {}, or end the name in .csv, .npy or .xdf.", formats));
  }
  // A table is a CSV file.
  const auto* const wanted = std::get_if<RecordFormat>(&*format);
  if (named && *named != (wanted ? *wanted : RecordFormat::csv)) {
    throw Failure(ExitCode::usage,
                  fmt::format("--format and the output {} contradict each other.", utf8(output)),
                  isStandardOutput(output) ? "Standard output takes csv, tidy and regions only."
                                           : "Omit --format, or choose another name.");
  }
  return *format;
}

// On a terminal, once the conversion has taken a while. Also ends it when the user asks for that.
class ProgressBar {
 public:
  explicit ProgressBar(std::string name) : name_(std::move(name)) {}

  void update(double progress)
  {
    // The clock costs more than a record of a small glove.
    constexpr unsigned interval = 64;
    if (++calls_ % interval != 0) return;
    if (stopRequest_.flag()) {
      line_.end();
      throw Failure(ExitCode::interrupted,
                    "interrupted before the conversion was complete; there is no output.", "");
    }
    const auto now = host::uptime();
    if (!isShown_ || now < next_ || !line_.isDue()) return;
    next_ = now + 100ms;
    constexpr std::size_t width = 30;
    const auto filled = static_cast<std::size_t>(progress * width);
    line_.show(fmt::format("{} [{}{}] {:3.0f} %", name_, std::string(filled, '='),
                           std::string(width - filled, ' '), progress * 100));
  }

  void end() { line_.end(); }

 private:
  const std::string name_;
  const bool isShown_ = host::isTerminal(stderr);
  StopRequest stopRequest_;
  StatusLine line_;
  std::chrono::nanoseconds next_ = host::uptime() + 500ms;
  unsigned calls_ = 0;
};

void run(const ConvertOptions& options)
{
  Conversion conversion = options.conversion;
  conversion.format = chooseFormat(conversion.to, options.format);
  if (conversion.fromSeconds >= conversion.toSeconds) {
    throw Failure(
        ExitCode::usage,
        fmt::format("--from {:g} is not before --to {:g}.", conversion.fromSeconds, conversion.toSeconds),
        "Both are seconds of the recording's time.");
  }
  conversion.hands = givenLayout(options.layout);
  const std::string from = utf8(conversion.from);
  ProgressBar bar(from);
  conversion.onProgress = [&bar](double progress) { bar.update(progress); };
  const ConversionResult result = convert(conversion);
  bar.end();
  for (const std::string& note : result.notes) {
    console::report("tessel: {}: {}\n", from, note);
  }
  if (!result.lost.empty()) console::report("tessel: not all is kept: {}.\n", result.lost);
  if (isStandardOutput(conversion.to)) return;
  console::print("Converted {} record(s) of {}: {}\n", result.records, from, utf8(conversion.to));
}

void addNames(std::vector<std::string>& names, std::string_view text)
{
  for (;;) {
    const std::size_t comma = text.find(',');
    names.emplace_back(text.substr(0, comma));
    if (comma == std::string_view::npos) return;
    text.remove_prefix(comma + 1);
  }
}

}  // namespace

void addConvert(CLI::App& tessel, ExitCode& /*exitCode*/)
{
  using namespace command_line;
  const auto options = std::make_shared<ConvertOptions>();
  ConvertOptions& target = *options;
  CLI::App& command = addCommand(tessel, "convert", "Writes a recording in another format, or as a table.");
  constexpr NumberRange seconds{.lowest = 0, .highest = 1e9};
  addPath(command, "RECORDING", "RECORDING", target.conversion.from,
          "a .csv or .xdf file or a folder of NumPy arrays, finished or not")
      .completeFiles({"csv", "xdf", "part"})
      .required();
  addPath(command, "OUTPUT", "FILE|FOLDER|-", target.conversion.to,
          "output file or folder, or - for standard output")
      .completeFiles()
      .required();
  const auto formats = allFormats();
  addChoice(
      command, "--format", fmt::to_string(fmt::join(formats, "|")), formats,
      [&target](const std::string& name) { target.format = formatWithName(name); },
      "csv, npy, xdf: a recording; tidy: a table with a row for each element of each record; regions: a "
      "table "
      "with mean, maximum and sum of each glove and region. By default the output name's extension decides");
  addNumber(
      command, "--from", "SECONDS", seconds, [&target](double from) { target.conversion.fromSeconds = from; },
      "Leave out records before this time");
  addNumber(
      command, "--to", "SECONDS", seconds, [&target](double to) { target.conversion.toSeconds = to; },
      "Leave out records from this time on");
  addText(
      command, "--regions", "NAME,...",
      [&target](const std::string& names) { addNames(target.conversion.regions, names); },
      "Keep only the elements of these regions, as in thumb,index");
  addLayoutOption(
      command, target.layout,
      "Where the elements are on the hand, in place of what the recording says; see docs/layout.md");
  addFlag(command, "--force", target.conversion.replaces, "Replace an existing output");
  setNotes(command,
           "Examples:  tessel convert grip.csv grip.npy           and back\n"
           "           tessel convert grip.csv grip.xdf --from 10 --to 20\n"
           "           tessel convert grip.npy - --format tidy | gzip > grip.csv.gz\n"
           "           tessel convert grip.csv regions.csv --format regions\n"
           "Metadata and events go along, but not into tables. The output's name ends in\n"
           "\".part\" until it is complete, and after an error there is none. What the format\n"
           "can't hold is reported. docs/convert.md describes the tables.");
  onRun(command, [options] { run(*options); });
}
