#include "host/commands/HardwareOptions.h"

#include "host/commands/CommandLine.h"

void addHardwareOptions(CLI::App& command, HardwareOptions& options)
{
  using namespace command_line;
  addFlag(command, "--sim", options.isSimulated, "Use simulated gloves");
  addPath(command, "--scenario", "FILE", options.scenario,
          "With --sim: file of timed events (see `tessel sim --help`)")
      .needs("--sim");
  const Option settings =
      addPath(command, "--settings", "FILE", options.settings, "Settings file of the plug-in");
  addChoice(
      command, "--gloves", "left|right|both|1|2 [both]", {"left", "right", "both", "1", "2"},
      [&options](const std::string& gloves) {
        options.gloves = gloves == "left"    ? Gloves::left
                         : gloves == "right" ? Gloves::right
                         : gloves == "1"     ? Gloves::one
                                             : Gloves::both;
      },
      "Which gloves to connect; 1 is one glove of either side. Not with --settings")
      .excludes(settings);
  addNumber(
      command, "--wait", "SECONDS", {.lowest = 0, .highest = 1e9},
      [&options](double seconds) { options.waitSeconds = seconds; },
      "For how long to look for gloves that are not found, or don't answer, at once (60)");
  addPath(command, "--plugin", "FILE", options.plugin,
          "Plug-in to load instead of the one next to this program")
      .completeFiles({"so", "dll"});
  addPath(command, "--log", "FOLDER", options.logFolder,
          "Write the plug-in's log to a new subfolder of this folder, one for each connection");
}
