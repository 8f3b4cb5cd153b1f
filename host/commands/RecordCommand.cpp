// `tessel record`: records gloves into a file until a limit, the user or a failure ends it.

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <new>
#include <optional>

#include "host/base/Console.h"
#include "host/base/PartFile.h"
#include "host/base/System.h"
#include "host/base/Text.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/HardwareOptions.h"
#include "host/recording/OutputName.h"
#include "host/recording/RecordingFiles.h"
#include "host/session/GloveLayout.h"
#include "host/session/Progress.h"
#include "host/session/Recorder.h"
#include "host/session/SessionMetadata.h"
#include "host/session/Summary.h"

namespace {

struct Options {
  HardwareOptions hardware;
  RecordingLimits limits;
  std::optional<std::string> output;
  std::optional<RecordFormat> format;
  bool replaces = false;
  bool isJson = false;
  bool showsMemory = false;
};

// How the recording ended; `failure` is reported after the summary.
struct Ending {
  std::string words;
  std::optional<Failure> failure;
};

Ending runRecorder(Recorder& recorder, RecordingFiles& files, const RecordingLimits& limits,
                   const std::atomic<bool>& stop)
{
  Progress progress(files.metadata().layout, limits);
  const auto onProgress = [&](const RecordingFigures& figures) {
    progress.show(figures);
    if (figures.records == 0) return;
    update(files.metadata(), figures);
    files.keepUp(host::uptime());
  };
  try {
    if (recorder.run(stop, onProgress)) return {"as requested.", {}};
    const bool isEarly = limits.seconds || limits.records || recorder.figures().records == 0;
    if (!isEarly) return {"as requested.", {}};
    const char* const words = "interrupted before the recording was complete.";
    return {words, Failure(ExitCode::interrupted, words, "")};
  } catch (const Failure& failure) {
    return {failure.what(), failure};
  } catch (const std::bad_alloc&) {
    return {outOfMemory().what(), outOfMemory()};
  } catch (const std::exception& error) {
    return {error.what(), Failure(ExitCode::internal, error.what(), "")};
  }
}

// The recording gets its final name, unless records could not be written, which leaves it incomplete. Returns
// where it is.
std::filesystem::path keep(RecordingFiles& files, const RecordingFigures& figures, Ending& ending)
{
  if (figures.records == 0) {
    files.discard();
    return {};
  }
  update(files.metadata(), figures);
  files.metadata().ended = ending.words;
  if (ending.failure && ending.failure->code() == ExitCode::output) {
    files.abandon();
    return files.growing();
  }
  try {
    files.complete();
    return files.wanted();
  } catch (const Failure& failure) {
    if (!ending.failure) ending = {failure.what(), failure};
    return files.growing();
  }
}

// Returns the failure that ended the recording early, if any. A failure before its start is thrown.
std::optional<Failure> record(const Options& options)
{
  StopRequest stopRequest;
  const OutputName output = chooseOutputName(options.output, options.format);
  if (options.isJson && isStandardOutput(output.path)) {
    throw Failure(ExitCode::usage,
                  "--json and --output - can't be used together: both write to standard output.",
                  "Record into a file, or omit --json.");
  }
  // Before the gloves are opened, so that an output that can't be written is reported at once.
  RecordingFiles files(output, options.replaces);
  Hardware hardware(options.hardware);
  console::report("Looking for the dongle and the gloves...\n");
  hardware.open(stopRequest);

  const Layout layout = gloveLayout(hardware.settings(), hardware.askModules());
  RecordWriter& writer = files.begin(describe(hardware, layout));
  console::report("Recording {} to {}; Ctrl-C ends it.\n",
                  fmt::to_string(fmt::join(hardware.askModules(), " and ")), outputText(files.growing()));
  Recorder recorder(hardware, layout, writer, options.limits);
  Ending ending = runRecorder(recorder, files, options.limits, stopRequest.flag());
  const auto place = keep(files, recorder.figures(), ending);
  const RecordingSummary summary{layout, recorder.figures(), place, ending.words,
                                 ending.failure ? ending.failure->code() : ExitCode::done};
  console::reportLines(summaryText(summary));
  if (options.isJson) console::printJson(summaryJson(summary, options.showsMemory));
  if (!ending.failure && files.hasPlace()) console::report("Draw it with: tessel plot {}\n", utf8(place));
  return ending.failure;
}

// The JSON of a recording that failed before its start.
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
  using namespace command_line;
  const auto options = std::make_shared<Options>();
  Options& target = *options;
  CLI::App& command = *tessel.add_subcommand("record", "Records one or two gloves into a file.");
  addNumber(
      command, "--seconds", "SECONDS", {.lowest = 0.001, .highest = 1e9},
      [&target](double seconds) { target.limits.seconds = seconds; }, "Recording duration");
  addWholeNumber(
      command, "--frames", "N", {.lowest = 1, .highest = 1'000'000'000'000},
      [&target](std::uint64_t frames) { target.limits.records = frames; }, "Number of frames to record");
  addText(
      command, "--output,-o", "FILE|FOLDER|-", [&target](const std::string& name) { target.output = name; },
      "Output file or folder, or - for standard output; by default named by date and time");
  addChoice(
      command, "--format", "csv|npy", {"csv", "npy"},
      [&target](const std::string& name) {
        target.format = name == "csv" ? RecordFormat::csv : RecordFormat::npy;
      },
      "csv: a file with a line for each frame; npy: a folder of NumPy arrays. By default the output name's "
      "extension decides, otherwise csv");
  addFlag(command, "--force", target.replaces, "Replace an existing recording");
  addFlag(command, "--json", target.isJson, "Print the summary as JSON on standard output");
  addFlag(command, "--memory", target.showsMemory, "With --json: add the peak memory of the program")
      ->needs("--json");
  addHardwareOptions(command, target.hardware);
  command.footer(
      "Examples:  tessel record --sim --seconds 5 --output first.csv\n"
      "           tessel record --settings gloves.txt --output session1.npy\n"
      "           tessel record --output - | head -3\n"
      "The recording's name ends in \".part\" until the recording ends, which includes\n"
      "Ctrl-C and a failure of the gloves. Beside first.csv, first.json describes the\n"
      "recording; --force replaces both.");
  command.callback([options, &exitCode] {
    run(*options);
    exitCode = ExitCode::done;
  });
}
