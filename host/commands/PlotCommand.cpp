// `tessel plot`: draws a recording as an SVG, PNG or PDF file.

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/LayoutOption.h"
#include "host/commands/PictureFile.h"
#include "host/plot/Picture.h"
#include "host/plot/Render.h"
#include "host/plot/TimeAxis.h"
#include "host/recording/OutputName.h"
#include "host/recording/Recording.h"

namespace fs = std::filesystem;

namespace {

struct PlotOptions {
  fs::path recording;
  PictureFileOptions file;
  std::optional<std::string> title;  // none: the recording's name
  double from = 0;
  double to = std::numeric_limits<double>::infinity();
  std::optional<CurvesBy> by;
  std::optional<RegionValue> value;
  std::vector<WantedMoment> at;
  std::filesystem::path layout;  // of the hand; empty: the recording's own
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

void applyLayout(Recording& recording, const std::filesystem::path& file)
{
  const std::optional<HandLayout> hands = givenLayout(file);
  if (!hands) return;
  Layout layout{recording.elements, std::move(recording.groups)};
  hands->describe(layout);
  recording.groups = std::move(layout.groups);
}

void plot(const PlotOptions& options)
{
  const fs::path path = plainPath(options.recording);
  const PictureFile output(options.file, defaultOutput(path), pictureMark);
  Recording recording = readRecording(path);
  for (const std::string& note : recording.notes) {
    console::report("tessel: {}: {}\n", utf8(path), note);
  }
  const std::string gloves = namesOfGloves(recording);
  if (gloves.empty()) {
    throw Failure(ExitCode::recording, utf8(path) + " contains no glove.",
                  "Choose a recording with elements other than 'aux'.");
  }
  applyLayout(recording, options.layout);
  const double end = duration(recording);
  if (!(options.from < std::min(options.to, end))) {
    throw Failure(ExitCode::usage, "there is nothing to draw between --from and --to.",
                  fmt::format("The recording lasts from 0 to {:.3f} seconds.", end));
  }
  const double to = std::min(options.to, end);
  output.write(drawPicture(recording, {.title = options.title.value_or(utf8(path.filename())),
                                       .from = options.from,
                                       .to = to,
                                       .width = options.width,
                                       .by = options.by,
                                       .value = options.value,
                                       .at = options.at}),
               path);
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
  CLI::App& command = addCommand(tessel, "plot", "Draws a recording as a picture: SVG, PNG or PDF.");
  constexpr NumberRange seconds{.lowest = 0, .highest = 1e9};
  addPath(command, "RECORDING", "RECORDING", target.recording,
          "a .csv or .xdf file or a folder of NumPy arrays, finished or not")
      .completeFiles({"csv", "xdf", "part"})
      .required();
  addPictureFileOptions(command, target.file, "the recording");
  addNumber(
      command, "--from", "SECONDS", seconds, [&target](double from) { target.from = from; },
      "Start time in the recording");
  addNumber(
      command, "--to", "SECONDS", seconds, [&target](double to) { target.to = to; },
      "End time in the recording");
  addChoice(
      command, "--by", "region|element|glove", {"region", "element", "glove"},
      [&target](const std::string& word) {
        target.by = word == "region"    ? CurvesBy::region
                    : word == "element" ? CurvesBy::element
                                        : CurvesBy::glove;
      },
      "Curves of regions, of all elements, or of the mean and maximum of the glove [region if the layout is "
      "known]");
  addChoice(
      command, "--value", "mean|max", {"mean", "max"},
      [&target](const std::string& word) {
        target.value = word == "max" ? RegionValue::maximum : RegionValue::mean;
      },
      "Of the elements of a region [mean]");
  addText(
      command, "--at", "SECONDS,...|max",
      [&target](const std::string& text) { target.at = parseMoments(text); },
      "Draw the hands at these times, or when the mean of all elements is highest");
  addLayoutOption(command, target.layout, "Where the elements are, in place of the recording's own layout");
  addText(
      command, "--title", "TITLE", [&target](const std::string& text) { target.title = text; },
      "Title in place of the recording's name");
  addWholeNumber(
      command, "--width", "PIXELS [1000]", {.lowest = minPictureWidth, .highest = maxPictureWidth},
      [&target](std::uint64_t width) { target.width = static_cast<std::size_t>(width); },
      "Width of the picture, at 96 pixels per inch");
  setNotes(command,
           "Examples:  tessel plot grip.csv                       draws grip.svg\n"
           "           tessel plot grip.csv --from 2.5 --to 4     draws this part\n"
           "           tessel plot grip.csv --at 2.5,max --output grip.pdf\n"
           "           tessel plot grip.csv --output grip.png --dpi 300\n"
           "Each glove gets a heat map with the highest count of each element over time, and\n"
           "curves. Where the layout of the hand is known, elements are sorted by region.\n"
           "Grey: no records. Markers are lines with their text, and times without gloves\n"
           "are shaded.\n"
           "Without --output, a picture that `tessel plot` drew earlier is replaced. Any\n"
           "other existing file is replaced only with --force.");
  onRun(command, [options] { plot(*options); });
}
