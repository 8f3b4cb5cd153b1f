// `tessel layout`: checks the layout of a glove and draws it, or writes one to start from.

#include <algorithm>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>

#include "host/base/Console.h"
#include "host/base/Limits.h"
#include "host/base/OutputFile.h"
#include "host/base/PartFile.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/PictureFile.h"
#include "host/gloves/SettingsFile.h"
#include "host/gloves/SimulatedHand.h"
#include "host/plot/LayoutPicture.h"
#include "host/recording/HandLayout.h"

namespace {

struct Options {
  std::filesystem::path file;
  PictureFileOptions picture;
  bool writes = false;
  std::size_t elements = elementsOfGlove;
};

void writeFile(const Options& options)
{
  PartFile output(options.file, PartFile::Kind::file, options.picture.overwrites);
  OutputFile file(output.growing());
  file.append(simulatedHand(options.elements));
  file.close();
  output.settle();
  if (!output.hasPlace()) return;
  console::print(
      "Wrote {}: the simulated hand with {} elements. Edit it, then check it with: tessel layout {}\n",
      utf8(options.file), options.elements, utf8(options.file));
}

// Between the outermost elements: "16 x 60 mm".
std::string sizeOf(const Hand& hand, const Region& region)
{
  if (hand.positions.empty()) return "-";
  const auto span = [&](double Position::*coordinate) {
    const auto at = [&](std::size_t element) { return hand.positions[element].*coordinate; };
    const auto [low, high] = std::ranges::minmax(region.elements, {}, at);
    return at(high) - at(low);
  };
  return fmt::format("{:.0f} x {:.0f} mm", span(&Position::x), span(&Position::y));
}

void printHand(const Hand& hand, const std::string& side)
{
  console::print("\n{:<6} {:<32} {:>8}  {}\n", "hand", "region", "elements", "size");
  for (const Region& region : hand.regions) {
    console::print("{:<6} {:<32} {:>8}  {}\n", side, region.name, region.elements.size(),
                   sizeOf(hand, region));
  }
}

void printSummary(const HandLayout& layout)
{
  console::print("Layout    {}{}\n", layout.name(),
                 layout.name().empty() ? layout.source() : " (" + layout.source() + ")");
  console::print("Elements  {} per glove\n", layout.elements());
  const bool isLeftGiven = layout.mirrored() != "left";
  const bool isRightGiven = layout.mirrored() != "right";
  console::print("Hands     {}\n", layout.mirrored().empty() ? "left and right"
                                   : isLeftGiven             ? "left; the right one is its mirror image"
                                                             : "right; the left one is its mirror image");
  if (isLeftGiven) printHand(layout.left(), "left");
  if (isRightGiven) printHand(layout.right(), "right");
}

void check(const Options& options)
{
  std::filesystem::path byDefault = options.file;
  const PictureFile picture(options.picture, byDefault.replace_extension(".svg"), layoutPictureMark);
  const HandLayout layout = HandLayout::read(options.file);
  const bool isDrawn = !layout.left().positions.empty() && !layout.right().positions.empty();
  if (isDrawn) {
    const std::string title = layout.name().empty() ? utf8(options.file.filename()) : layout.name();
    picture.write(drawLayout(layout, title), options.file);
    if (isStandardOutput(picture.path())) return;
  }
  printSummary(layout);
  if (isDrawn) {
    console::print("\nDrew {} (open it with a web browser)\n", utf8(picture.path()));
  } else {
    console::print("\nWithout the positions of all elements, there is nothing to draw.\n");
  }
}

void run(const Options& options)
{
  options.writes ? writeFile(options) : check(options);
}

}  // namespace

void addLayout(CLI::App& tessel, ExitCode& /*exitCode*/)
{
  using namespace command_line;
  const auto options = std::make_shared<Options>();
  CLI::App& command =
      addCommand(tessel, "layout",
                 "Checks and draws a layout, which says where the elements of a glove are, or writes one.");
  addPath(command, "FILE", "FILE", options->file, "the layout, a JSON file")
      .completeFiles({"json"})
      .required();
  addPictureFileOptions(command, options->picture, "the layout");
  const Option writes =
      addFlag(command, "--write", options->writes, "Write the layout of the simulated hand, to start from");
  addWholeNumber(
      command, "--elements", "NUMBER [125]", {.lowest = 1, .highest = maxElements},
      [&target = *options](std::uint64_t elements) { target.elements = static_cast<std::size_t>(elements); },
      "With --write: elements of a glove")
      .needs(writes);
  setNotes(command,
           "Examples:  tessel layout hand.json --write      writes a layout to start from\n"
           "           tessel layout hand.json              checks it and draws hand.svg\n"
           "           tessel record --layout hand.json     uses it\n"
           "All errors of a layout are reported at once; the exit code is then 2.\n"
           "Without --output, a picture that `tessel layout` drew earlier is replaced. Any\n"
           "other existing file is replaced only with --force.");
  onRun(command, [options] { run(*options); });
}
