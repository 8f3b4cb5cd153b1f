// `tessel record`: records gloves into a file until a limit, the user or a failure ends it.

#include <memory>
#include <optional>

#include "host/base/PartFile.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/RecordingRun.h"
#include "host/recording/OutputName.h"
#include "host/recording/RecordingFiles.h"

namespace {

struct Options {
  RecordingOptions recording;
  std::optional<std::string> output;
  std::optional<RecordFormat> format;
  bool replaces = false;
};

std::unique_ptr<RecordingFiles> makeFiles(const Options& options)
{
  const OutputName output = chooseOutputName(options.output, options.format);
  if (options.recording.isJson && isStandardOutput(output.path)) {
    throw Failure(ExitCode::usage,
                  "--json and --output - can't be used together: both write to standard output.",
                  "Record into a file, or omit --json.");
  }
  return std::make_unique<RecordingFiles>(output, options.replaces, options.recording.run.sync);
}

}  // namespace

void addRecord(CLI::App& tessel, ExitCode& exitCode)
{
  using namespace command_line;
  const auto options = std::make_shared<Options>();
  options->recording.command = "record";
  Options& target = *options;
  CLI::App& command = addCommand(tessel, "record", "Records one or two gloves into a file.");
  addText(
      command, "--output,-o", "FILE|FOLDER|-", [&target](const std::string& name) { target.output = name; },
      "Output file or folder, or - for standard output; by default named by date and time")
      .completeFiles();
  addChoice(
      command, "--format", "csv|npy|xdf", formatNames(),
      [&target](const std::string& name) { target.format = formatNamed(name); },
      "csv: a file with a line for each frame; npy: a folder of NumPy arrays; xdf: one file with metadata "
      "and events. By default the output name's extension decides, otherwise csv");
  addFlag(command, "--force", target.replaces, "Replace an existing recording");
  addFlag(command, "--lsl", target.recording.lsl.offersStreams,
          "Offer the gloves as LSL streams (Lab Streaming Layer), too");
  addViewOptions(command, target.recording.view, true);
  addRecordingOptions(command, target.recording);
  setNotes(command,
           "Examples:  tessel record --sim --seconds 5 --output first.csv\n"
           "           tessel record --settings gloves.txt --output session1.npy\n"
           "           tessel record --output - | head -3\n"
           "           tessel record --sim --view --open\n"
           "The recording's name ends in \".part\" until the recording ends, which includes\n"
           "Ctrl-C and a failure of the gloves. A second file, first.json for\n"
           "first.csv, describes the recording; --force replaces both.");
  onRun(command, [options, &exitCode] {
    runRecording(options->recording, [options] { return makeFiles(*options); });
    exitCode = ExitCode::done;
  });
}
