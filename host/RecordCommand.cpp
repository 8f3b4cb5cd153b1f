// `tessel record`: records gloves into a file, until a limit, the person or a failure ends it.

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <ctime>
#include <map>
#include <memory>
#include <new>
#include <optional>

#include "host/Commands.h"
#include "host/Console.h"
#include "host/Progress.h"
#include "host/Recorder.h"
#include "host/Summary.h"
#include "host/Text.h"
#include "host/recording/Output.h"

namespace {

struct Options {
  HardwareOptions hardware;
  RecordingLimits limits;
  std::string output;
  RecordFormat format = RecordFormat::csv;
  bool replaces = false;
  bool isJson = false;
  bool showsMemory = false;
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

Ending runRecorder(Recorder& recorder, const Layout& layout, const RecordingLimits& limits,
                   const std::atomic<bool>& stop)
{
  Progress progress(layout, limits);
  try {
    const auto show = [&](const RecordingFigures& figures) { progress.show(figures); };
    if (recorder.run(stop, show)) return {"as asked for.", {}};
    const bool isEarly = limits.seconds || limits.records || recorder.figures().records == 0;
    if (!isEarly) return {"as asked for.", {}};
    const char* const words = "interrupted before what was asked for was there.";
    return {words, Failure(ExitCode::interrupted, words, "")};
  } catch (const Failure& failure) {
    return {failure.what(), failure};
  } catch (const std::bad_alloc&) {
    return {outOfMemory().what(), outOfMemory()};
  } catch (const std::exception& error) {
    return {error.what(), Failure(ExitCode::internal, error.what(), "")};
  }
}

// Gives the recording its name, unless records could not be written; then what lies there is no whole. Gives
// where it lies.
std::filesystem::path keep(std::unique_ptr<RecordWriter> writer, Output& output,
                           const RecordingFigures& figures, Ending& ending)
{
  output.keep(figures.records > 0);
  if (figures.records == 0) return {};
  try {
    if (ending.failure && ending.failure->code() == ExitCode::output) return output.growing();
    writer->finish({ending.words, figures.gaps.backwardSteps()});
    writer.reset();
    output.settle();
    return output.wanted();
  } catch (const Failure& failure) {
    if (!ending.failure) ending = {failure.what(), failure};
    return output.growing();
  }
}

// Gives what ended the recording other than as asked for. What keeps it from beginning is thrown.
std::optional<Failure> record(const Options& options)
{
  Interruption interruption;
  const std::string name = options.output.empty() ? defaultOutput(options.format) : options.output;
  // Ahead of the gloves, so that what can't be written is told at once.
  Output output(name, options.format == RecordFormat::csv ? Output::Kind::file : Output::Kind::folder,
                options.replaces);
  Hardware hardware(options.hardware);
  console::tell("Looking for the dongle and the gloves...\n");
  hardware.open(interruption);

  const Layout layout = hardware.askLayout();
  auto writer = makeRecordWriter(options.format, output.growing(), layout);
  output.keep(true);
  console::tell("Recording {} to {}; Ctrl-C ends it.\n",
                fmt::to_string(fmt::join(hardware.askModules(), " and ")), utf8(output.growing()));
  Recorder recorder(hardware, layout, *writer, options.limits);
  Ending ending = runRecorder(recorder, layout, options.limits, interruption.flag());
  const auto place = keep(std::move(writer), output, recorder.figures(), ending);
  const RecordingSummary summary{layout, recorder.figures(), place, ending.words,
                                 ending.failure ? ending.failure->code() : ExitCode::done};
  console::tellLines(summaryText(summary));
  if (options.isJson) console::printJson(summaryJson(summary, options.showsMemory));
  if (!ending.failure) console::tell("Look at it with: tessel plot {}\n", utf8(place));
  return ending.failure;
}

// Each gives what is wrong with the text of an option.
std::string isDuration(std::string& text)
{
  double seconds = 0;
  const bool isRead = CLI::detail::lexical_cast(text, seconds);
  return isRead && seconds > 0 && seconds <= 1e9 ? "" : "it takes a number of seconds above 0, not " + text;
}

std::string isCount(std::string& text)
{
  const bool isNumber =
      !text.empty() && text.size() <= 15 && text.find_first_not_of("0123456789") == std::string::npos;
  return isNumber && text.find_first_not_of('0') != std::string::npos
             ? ""
             : "it takes a whole number above 0, not " + text;
}

// What has no summary, because nothing was recorded.
nlohmann::ordered_json failureJson(const Failure& failure)
{
  return {{"exitCode", static_cast<int>(failure.code())},
          {"ended", failure.what()},
          {"output", ""},
          {"frames", 0}};
}

void run(const Options& options)
{
  std::optional<Failure> failure;
  try {
    failure = record(options);
  } catch (const Failure& early) {
    if (options.isJson) console::printJson(failureJson(early));
    throw;
  }
  if (failure) throw *failure;
}

}  // namespace

void addRecord(CLI::App& tessel, ExitCode& exitCode)
{
  const auto options = std::make_shared<Options>();
  CLI::App* const command = tessel.add_subcommand("record", "Records one or two gloves into a file.");
  command->add_option("--seconds", options->limits.seconds, "Record so long")
      ->check(CLI::Validator(isDuration, ""))
      ->option_text("SECONDS");
  command->add_option("--frames", options->limits.records, "Record so many frames")
      ->check(CLI::Validator(isCount, ""))
      ->option_text("N");
  command->add_option("--output,-o", options->output, "Where to; without it, a name of the date and time");
  command
      ->add_option("--format", options->format,
                   "csv: a file with a line for each frame; npy: a folder with NumPy arrays")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, RecordFormat>{{"csv", RecordFormat::csv}, {"npy", RecordFormat::npy}}))
      ->option_text("csv|npy [csv]");
  command->add_flag("--force", options->replaces, "Replace a recording of this name");
  command->add_flag("--json", options->isJson, "Print the summary as JSON on standard output");
  command->add_flag("--memory", options->showsMemory, "Add the program's peak memory to the JSON")
      ->needs("--json");
  addHardwareOptions(*command, options->hardware);
  command->footer(
      "Examples:  tessel record --sim --seconds 5 --output first.csv\n"
      "           tessel record --settings gloves.txt --format npy --output session1\n"
      "While it grows, the recording's name ends in \".part\"; it gets its name at the end, also if the\n"
      "gloves fail or Ctrl-C ends it.");
  command->callback([options, &exitCode] {
    run(*options);
    exitCode = ExitCode::done;
  });
}
