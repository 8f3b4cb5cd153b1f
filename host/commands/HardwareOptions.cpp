#include "host/commands/HardwareOptions.h"

#include "host/commands/CommandLine.h"

void addHardwareOptions(CLI::App& command, HardwareOptions& options)
{
  using namespace command_line;
  addFlag(command, "--sim", options.isSimulated, "Use simulated gloves");
  addPath(command, "--scenario", "FILE", options.scenario,
          "With --sim: what happens when (see `tessel sim --help`)")
      ->needs("--sim");
  CLI::Option* const settings =
      addPath(command, "--settings", "FILE", options.settings, "Settings file of the plug-in");
  addChoice(
      command, "--gloves", "left|right|both|1|2 [both]", {"left", "right", "both", "1", "2"},
      [&options](const std::string& gloves) {
        options.gloves = gloves == "left"    ? Gloves::left
                         : gloves == "right" ? Gloves::right
                         : gloves == "1"     ? Gloves::one
                                             : Gloves::both;
      },
      "Without a settings file: two gloves, or one; 1 is one of either side")
      ->excludes(settings);
  addPath(command, "--plugin", "FILE", options.plugin, "The plug-in, if not the one beside this program");
  addPath(command, "--log", "FOLDER", options.logFolder,
          "Keep a log of the plug-in in a new folder in this one");
}
