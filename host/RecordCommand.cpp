// `tessel record`: records gloves into a file, until a limit, the person or a failure ends it.

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>
#include <map>
#include <memory>
#include <optional>

#include "host/Commands.h"
#include "host/Progress.h"
#include "host/Recorder.h"
#include "host/Summary.h"

namespace {

struct Options {
  HardwareOptions hardware;
  RecordingLimits limits;
  std::string output;
  RecordFormat format = RecordFormat::csv;
  bool replaces = false;
  bool isJson = false;
};

std::string defaultOutput(RecordFormat format)
{
  return fmt::format("recording-{:%Y%m%d-%H%M%S}{}", fmt::localtime(std::time(nullptr)),
                     format == RecordFormat::csv ? ".csv" : "");
}

// How it ended; `failure` is what the person is told after the summary.
struct Ending {
  std::string words;
  std::optional<Failure> failure;
};

Ending runRecorder(Recorder& recorder, Progress& progress, const RecordingLimits& limits,
                   const std::atomic<bool>& stop)
{
  try {
    const auto show = [&](const RecordingFigures& figures) { progress.show(figures); };
    if (recorder.run(stop, show)) return {"as asked for.", {}};
    const bool isEarly = limits.seconds || limits.records || recorder.figures().records == 0;
    if (!isEarly) return {"as asked for.", {}};
    const char* const words = "interrupted before what was asked for was there.";
    return {words, Failure(ExitCode::interrupted, words, "")};
  } catch (const Failure& failure) {
    return {failure.what(), failure};
  }
}

// Gives the recording its name, unless records could not be written; then what lies there is no whole. Gives
// where it lies.
std::filesystem::path keep(RecordWriter& writer, const OutputName& name, const RecordingFigures& figures,
                           Ending& ending)
{
  const bool isWhole = !ending.failure || ending.failure->code() != ExitCode::output;
  try {
    if (figures.records == 0) {
      writer.discard();
      return {};
    }
    if (isWhole) {
      writer.finish(ending.words);
      return name.wanted();
    }
  } catch (const Failure& failure) {
    ending = {failure.what(), failure};
  }
  return name.growing();
}

void record(const Options& options)
{
  Interruption interruption;
  const std::string output = options.output.empty() ? defaultOutput(options.format) : options.output;
  const OutputName name(output, options.format == RecordFormat::npy, options.replaces);
  Hardware hardware(options.hardware);
  fmt::print(stderr, "Looking for the dongle and the gloves...\n");
  hardware.open(interruption);

  const Layout layout = hardware.askLayout();
  const auto writer = makeRecordWriter(options.format, name, layout);
  fmt::print(stderr, "Recording {} to {}; Ctrl-C ends it.\n", fmt::join(hardware.askModules(), " and "),
             name.growing().string());
  Recorder recorder(hardware, layout, *writer, options.limits);
  Ending ending;
  {
    Progress progress(layout, options.limits);
    ending = runRecorder(recorder, progress, options.limits, interruption.flag());
  }
  const auto place = keep(*writer, name, recorder.figures(), ending);
  const RecordingSummary summary{layout, recorder.figures(), place, ending.words,
                                 ending.failure ? ending.failure->code() : ExitCode::done};
  fmt::print(stderr, "{}", summaryText(summary));
  if (options.isJson) fmt::print("{}\n", summaryJson(summary));
  if (ending.failure) throw *ending.failure;
  fmt::print(stderr, "Look at it with: tessel plot {}\n", place.string());
}

}  // namespace

void addRecord(CLI::App& tessel, ExitCode& exitCode)
{
  const auto options = std::make_shared<Options>();
  CLI::App* const command = tessel.add_subcommand("record", "Records one or two gloves into a file.");
  command->add_option("--seconds", options->limits.seconds, "Record so long")->check(CLI::PositiveNumber);
  command->add_option("--frames", options->limits.records, "Record so many frames")
      ->check(CLI::PositiveNumber);
  command->add_option("--output,-o", options->output, "Where to; without it, a name of the date and time");
  command
      ->add_option("--format", options->format,
                   "csv: a file with a line for each frame; npy: a folder with NumPy arrays")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, RecordFormat>{{"csv", RecordFormat::csv}, {"npy", RecordFormat::npy}}))
      ->option_text("csv|npy [csv]");
  command->add_flag("--force", options->replaces, "Replace a recording of this name");
  command->add_flag("--json", options->isJson, "Print the summary as JSON on standard output");
  addHardwareOptions(*command, options->hardware);
  command->footer(
      "Examples:  tessel record --sim --seconds 5 --output first.csv\n"
      "           tessel record --settings gloves.txt --format npy --output session1\n"
      "While it grows, the recording's name ends in \".part\"; it gets its name at the end, also if the "
      "gloves fail "
      "or Ctrl-C ends it.");
  command->callback([options, &exitCode] {
    record(*options);
    exitCode = ExitCode::done;
  });
}
