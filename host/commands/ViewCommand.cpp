// `tessel view`: shows gloves on a live page, without a file.

#include <memory>

#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/RecordingRun.h"

void addView(CLI::App& tessel, ExitCode& exitCode)
{
  using namespace command_line;
  const auto options = std::make_shared<RecordingOptions>();
  options->command = "view";
  options->view.isShown = true;
  CLI::App& command =
      addCommand(tessel, "view", "Shows one or two gloves live on a page in the browser, without a file.");
  addViewOptions(command, options->view, false);
  addRecordingOptions(command, *options);
  setNotes(command,
           "Examples:  tessel view --sim --open\n"
           "           tessel view --settings gloves.txt\n"
           "           tessel view --listen 192.168.1.20\n"
           "           tessel record --view --output run.csv\n"
           "The page shows both hands, the state of the link and, with `tessel record\n"
           "--view`, of the recording. It is served to this computer only, unless\n"
           "--listen names one of its other addresses. With --sim each line that is\n"
           "typed is a command of the simulation, such as: drop left");
  onRun(command, [options, &exitCode] {
    runRecording(*options, [] { return nullptr; });
    exitCode = ExitCode::done;
  });
}
