// `tessel plot`: draws a recording as an SVG file.

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/OutputFile.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/plot/Picture.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/Recording.h"

namespace fs = std::filesystem;

namespace {

struct PlotOptions {
  fs::path recording;
  std::optional<std::string> output;  // none: named after the recording
  double from = 0;
  double to = std::numeric_limits<double>::infinity();
  std::size_t width = 1000;
  bool overwrites = false;
};

// Without a trailing separator, and with a real name in place of `.` or `..`.
fs::path plainPath(fs::path path)
{
  if (!path.has_filename()) path = path.parent_path();
  if (path.filename() != "." && path.filename() != "..") return path;
  std::error_code error;
  const fs::path named = fs::canonical(path, error);
  return error ? path : named;
}

fs::path defaultOutput(fs::path recording)
{
  if (hasExtension(recording, ".part")) recording.replace_extension();
  if (hasExtension(recording, ".csv") || hasExtension(recording, ".npy")) recording.replace_extension();
  return recording += ".svg";
}

fs::path chosenOutput(const std::string& text)
{
  if (text.empty()) {
    throw Failure(ExitCode::usage, "--output takes the name of an .svg file, not ''.",
                  "Omit it for a file named after the recording.");
  }
  fs::path output = text;
  if (hasExtension(output, ".svg") || isStandardOutput(output)) return output;
  const auto named = [&](const char* extension) {
    return utf8(fs::path(output).replace_extension(extension));
  };
  throw Failure(ExitCode::usage,
                fmt::format("{} can't be written: tessel plot writes SVG files.", utf8(output)),
                fmt::format("Use --output {0}; then `rsvg-convert {0} --output {1}` converts it to PNG.",
                            named(".svg"), named(".png")));
}

bool isOwnPicture(const fs::path& path)
{
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return false;
  std::ifstream file(path, std::ios::binary);
  std::string start(200, '\0');
  file.read(start.data(), static_cast<std::streamsize>(start.size()));
  return start.find(pictureMark) != std::string::npos;
}

void write(const fs::path& path, const PlotOptions& options, const std::string& picture)
{
  std::error_code error;
  if (fs::equivalent(path, options.recording, error)) {
    throw Failure(ExitCode::output, fmt::format("{} is the recording itself.", utf8(path)),
                  "Choose another name.");
  }
  PartFile output(path, PartFile::Kind::file, options.overwrites || (!options.output && isOwnPicture(path)));
  OutputFile file(output.growing());
  file.append(picture);
  file.close();
  output.settle();
}

std::string namesOfGloves(const Recording& recording)
{
  std::string names;
  for (const auto& group : recording.groups) {
    if (group.isGlove()) names += (names.empty() ? "" : ", ") + excerpt(group.label);
  }
  return names;
}

void plot(const PlotOptions& options)
{
  const fs::path path = plainPath(options.recording);
  const fs::path output = options.output ? chosenOutput(*options.output) : defaultOutput(path);
  const Recording recording = readRecording(path);
  for (const std::string& note : recording.notes) {
    console::report("tessel: {}: {}\n", utf8(path), note);
  }
  const std::string gloves = namesOfGloves(recording);
  if (gloves.empty()) {
    throw Failure(ExitCode::recording, utf8(path) + " contains no glove.",
                  "Choose a recording with elements other than 'aux'.");
  }
  const double end = duration(recording);
  if (!(options.from < std::min(options.to, end))) {
    throw Failure(ExitCode::usage, "there is nothing to draw between --from and --to.",
                  fmt::format("The recording lasts from 0 to {:.3f} seconds.", end));
  }
  const double to = std::min(options.to, end);
  write(output, options, drawPicture(recording, {utf8(path.filename()), options.from, to, options.width}));
  const bool isWhole = options.from <= 0 && to >= end;
  const std::string part = isWhole ? fmt::format("{} record(s), {}", recording.records(), durationText(end))
                                   : fmt::format("{:g} s to {:g} s", options.from, to);
  if (isStandardOutput(output)) return;
  console::print("Drew {} of {}, {}: {} (open it with a web browser)\n", gloves, utf8(path), part,
                 utf8(output));
}

}  // namespace

void addPlot(CLI::App& tessel, ExitCode& /*exitCode*/)
{
  using namespace command_line;
  const auto options = std::make_shared<PlotOptions>();
  PlotOptions& target = *options;
  CLI::App& command = *tessel.add_subcommand("plot", "Draws a recording as an SVG picture.");
  constexpr NumberRange seconds{.lowest = 0, .highest = 1e9};
  completeFiles(addPath(command, "RECORDING", "RECORDING", target.recording,
                        "a .csv file or a folder of NumPy arrays, finished or not"),
                {"csv", "part"})
      ->required();
  completeFiles(
      addText(
          command, "--output,-o", "FILE|-", [&target](const std::string& name) { target.output = name; },
          "Output .svg file, or - for standard output; by default named after the recording"),
      {"svg"});
  addNumber(
      command, "--from", "SECONDS", seconds, [&target](double from) { target.from = from; },
      "Start time in the recording");
  addNumber(
      command, "--to", "SECONDS", seconds, [&target](double to) { target.to = to; },
      "End time in the recording");
  addWholeNumber(
      command, "--width", "PIXELS [1000]", {.lowest = minPictureWidth, .highest = maxPictureWidth},
      [&target](std::uint64_t width) { target.width = static_cast<std::size_t>(width); },
      "Width of the picture");
  addFlag(command, "--force", target.overwrites, "Replace an existing output file");
  command.footer(
      "Examples:  tessel plot grip.csv                       draws grip.svg\n"
      "           tessel plot grip.csv --from 2.5 --to 4     draws this part\n"
      "           tessel plot grip.csv --output p.svg        draws p.svg\n"
      "Each glove gets a heat map with the highest count of each element over time, and\n"
      "curves of the mean and the maximum of its elements. Grey: no records.\n"
      "Markers are lines with their text, and times without gloves are shaded.\n"
      "Without --output, a picture that `tessel plot` drew earlier is replaced. Any\n"
      "other existing file is replaced only with --force.");
  command.callback([options] { plot(*options); });
}
