// `tessel trace`: prints a wire capture message by message.

#include <fmt/core.h>

#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/base/Console.h"
#include "host/base/Failure.h"
#include "host/base/InputFile.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/trace/CaptureTrace.h"
#include "host/trace/FrameTrace.h"
#include "host/trace/MessageTrace.h"

namespace {

struct TraceOptions {
  std::filesystem::path capture;
  TraceFormat format;
  GloveFilter filter;
  bool showsFrames = false;
  bool showsBooks = false;
  bool showsBytes = false;
};

std::string inputName(const std::filesystem::path& path)
{
  return path == "-" ? "standard input" : utf8(path);
}

std::unique_ptr<TraceView> makeView(const TraceOptions& options, TraceOutput& output)
{
  using Content = FrameTrace::Content;
  if (options.showsBooks) return std::make_unique<FrameTrace>(output, options.filter, Content::books);
  if (options.showsFrames) return std::make_unique<FrameTrace>(output, options.filter, Content::frames);
  return std::make_unique<MessageTrace>(output, options.filter, options.showsBytes);
}

[[noreturn]] void failAsNoCapture(const std::filesystem::path& path)
{
  throw Failure(ExitCode::recording, inputName(path) + " is no capture.",
                "Choose a file that `tessel record --capture` or TESSEL_CAPTURE wrote.");
}

// Passes on what there is as soon as it comes, for captures that are still being written.
void readAll(const std::filesystem::path& path, CaptureTrace& trace)
{
  constexpr std::size_t pieceSize = std::size_t{64} * 1024;
  constexpr std::uint64_t maxForeign = std::uint64_t{1024} * 1024;
  host::InputFile file(path);
  std::vector<std::uint8_t> piece(pieceSize);
  std::uint64_t total = 0;
  while (const std::size_t count = file.read(piece)) {
    total += count;
    trace.add(std::span(piece).first(count));
    if (!trace.hasSection() && total > maxForeign) failAsNoCapture(path);
    if (count < pieceSize) std::fflush(stdout);
    if (std::ferror(stdout) != 0) return;  // main() reports it
  }
  if (file.error()) {
    throw Failure(ExitCode::recording,
                  fmt::format("{} can't be read: {}.", inputName(path), file.error().message()),
                  "Check the name, and that you may read it.");
  }
  trace.end();
  if (total == 0) {
    throw Failure(ExitCode::recording, inputName(path) + " is empty.",
                  "The plug-in writes a capture when it opens the dongle's port for the first time.");
  }
  if (!trace.hasSection()) failAsNoCapture(path);
}

void trace(const TraceOptions& options)
{
  if (options.format.from > options.format.to) {
    throw Failure(ExitCode::usage, "--from is later than --to.", "Exchange them.");
  }
  TraceOutput output(options.format);
  const std::unique_ptr<TraceView> view = makeView(options, output);
  CaptureTrace trace(*view);
  readAll(options.capture, trace);
  if (output.printed() > 0 || options.showsBooks) return;
  console::report("tessel: no lines: the capture lasts from 0 to {:.6f} seconds.\n",
                  std::chrono::duration<double>(trace.duration()).count());
}

}  // namespace

void addTrace(CLI::App& tessel, ExitCode& /*exitCode*/)
{
  using namespace command_line;
  const auto options = std::make_shared<TraceOptions>();
  TraceOptions& target = *options;
  CLI::App& command = addCommand(tessel, "trace", "Prints a wire capture, message by message.");
  constexpr NumberRange seconds{.lowest = 0, .highest = 1e10};
  addPath(command, "CAPTURE", "CAPTURE|-", target.capture,
          "a capture (.pcapng) or a FIFO, or - for standard input")
      .completeFiles({"pcapng"})
      .required();
  const Option frames =
      addFlag(command, "--frames", target.showsFrames, "One line for each frame instead of each message");
  addFlag(command, "--books", target.showsBooks,
          "Only the counts of frames that were sent, complete and lost")
      .excludes(frames);
  addFlag(command, "--json", target.format.isJson, "One JSON object per line");
  addFlag(command, "--bytes", target.showsBytes, "Add the bytes of each message, in hexadecimal");
  addChoice(
      command, "--glove", "left|right|0|1", {"left", "right", "0", "1"},
      [&target](const std::string& glove) {
        if (glove == "0" || glove == "1") {
          target.filter.connection = glove == "0" ? 0 : 1;
        } else {
          target.filter.side = glove;
        }
      },
      "Only messages or frames of this glove, or connection");
  addNumber(
      command, "--from", "SECONDS", seconds, [&target](double from) { target.format.from = from; },
      "Start time, since the beginning of the capture");
  addNumber(
      command, "--to", "SECONDS", seconds, [&target](double to) { target.format.to = to; }, "End time");
  addChoice(
      command, "--time", "start|wall [start]", {"start", "wall"},
      [&target](const std::string& time) { target.format.showsWallClock = time == "wall"; },
      "Seconds since the beginning of the capture, or the date and time in UTC");
  setNotes(command,
           "Examples:  tessel record --seconds 5 --capture run.pcapng   makes a capture\n"
           "           tessel trace run.pcapng | less                   shows the dialogue\n"
           "           tessel trace run.pcapng --frames --glove left    a line for each frame\n"
           "           tessel trace run.pcapng --books                  what was lost, and how\n"
           "           tessel trace run.pcapng --from 2.5 --to 3 --bytes\n"
           "Columns: time, difference to the line before, direction (> to the dongle, < from\n"
           "it, - neither), cmd, rsp or evt, name, fields. Words in CAPITALS are errors.\n"
           "--from and --to have no effect on --books.");
  onRun(command, [options] { trace(*options); });
}
