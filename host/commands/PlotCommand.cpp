// `tessel plot`: draws a recording as an SVG file.

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <system_error>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/PictureFile.h"
#include "host/plot/Picture.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/OutputName.h"
#include "host/recording/Recording.h"

namespace fs = std::filesystem;

namespace {

struct PlotOptions {
  fs::path recording;
  PictureFileOptions file;
  double from = 0;
  double to = std::numeric_limits<double>::infinity();
  std::size_t width = 1000;
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
  return withoutExtension(recording) += ".svg";
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
  const PictureFile output(options.file, defaultOutput(path), pictureMark);
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
  output.write(drawPicture(recording, {utf8(path.filename()), options.from, to, options.width}), path);
  const bool isWhole = options.from <= 0 && to >= end;
  const std::string part = isWhole ? fmt::format("{} record(s), {}", recording.records(), durationText(end))
                                   : fmt::format("{:g} s to {:g} s", options.from, to);
  if (isStandardOutput(output.path())) return;
  console::print("Drew {} of {}, {}: {} (open it with a web browser)\n", gloves, utf8(path), part,
                 utf8(output.path()));
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
                        "a .csv or .xdf file or a folder of NumPy arrays, finished or not"),
                {"csv", "xdf", "part"})
      ->required();
  addPictureFileOptions(command, target.file, "the recording");
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
