// `tessel stream`: offers gloves as LSL streams, without a file.

#include <memory>

#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/RecordingRun.h"

void addStream(CLI::App& tessel, ExitCode& exitCode)
{
  using namespace command_line;
  const auto options = std::make_shared<RecordingOptions>();
  options->command = "stream";
  options->lsl.offersStreams = true;
  CLI::App& command = addCommand(
      tessel, "stream", "Offers one or two gloves as LSL streams (Lab Streaming Layer), without a file.");
  addViewOptions(command, options->view, true);
  addRecordingOptions(command, *options);
  setNotes(command,
           "Examples:  tessel stream --sim\n"
           "           tessel stream --settings gloves.txt --seconds 600\n"
           "           tessel record --lsl --output run.csv\n"
           "Other programs receive each glove as a stream of the type Tactile, and the\n"
           "events and losses as one of the type Markers. `tessel record --lsl` writes\n"
           "a file, too. Both need the LSL library (liblsl), which has to be installed.");
  onRun(command, [options, &exitCode] {
    runRecording(*options, [] { return nullptr; });
    exitCode = ExitCode::done;
  });
}
