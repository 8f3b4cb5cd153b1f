#include "host/commands/SimulationOptions.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "host/commands/CommandLine.h"

namespace {

using namespace command_line;

// Options that are control commands of the same name, executed before the port is created. The control checks
// the values.
struct Setting {
  const char* command;
  const char* value;
  const char* help;
  std::vector<std::string> words = {};  // for the shell's completion
};

const std::array settings{
    Setting{"rate", "[GLOVE] HZ", "Frames per second, 0.1 to 1000 (40); the radio limits them"},
    Setting{"drift", "[GLOVE] PPM",
            "Parts per million by which a glove's crystal runs fast, -1000 to 1000 (0)"},
    Setting{"packets", "[GLOVE] N", "Packets per frame, 2 to 15 (14, for 125 samples)"},
    Setting{"battery", "[GLOVE] CODE", "Battery code, 0 to 31 (17); 19 is full, 11 or less is empty"},
    Setting{"loss", "[GLOVE] PERCENT", "Percentage of packets that are lost"},
    Setting{"double", "[GLOVE] PERCENT", "Percentage of packets that arrive twice"},
    Setting{"swap", "[GLOVE] PERCENT", "Percentage of packets that arrive after the next one"},
    Setting{"rssi", "[GLOVE] DBM", "Signal strength of the gloves at the dongle, -127 to 20 (-50)"},
    Setting{"refuse", "'GLOVE on|off'", "Whether a glove advertises without accepting connections (off)"},
    Setting{"sensor", "'GLOVE POSITION CODE'",
            "A faulty sensor: palm, thumb, index, middle, ring or pinky, and a status from 1 to 255"},
    Setting{"firmware", "A.B.C.D", "Firmware version of the dongle (1.4.2.130)"},
    Setting{"restart-time", "SECONDS", "Duration of the dongle's restart after a reset (0.3)"},
    Setting{"neighbours", "'N [PER-SECOND]'",
            "Other Bluetooth devices, 0 to 200 (0), each heard 0.1 to 50 times a second by a scan (20)"},
    Setting{"busy", "on|off", "Whether another program holds the port (off)", {"on", "off"}},
};

template <class Number>
void addCount(CLI::App& command, const char* name, std::uint64_t highest, Number& target, const char* help)
{
  addWholeNumber(
      command, name, "N", {.lowest = 0, .highest = highest},
      [&target](std::uint64_t number) { target = static_cast<Number>(number); }, help);
}

}  // namespace

void addSimulationOptions(CLI::App& command, SimulationOptions& options)
{
  addChoice(
      command, "--gloves", "left|right|both", {"left", "right", "both"},
      [&options](const std::string& gloves) {
        options.hasLeft = gloves != "right";
        options.hasRight = gloves != "left";
      },
      "Which gloves exist (both)");
  addCount(command, "--left-serial", 99'999, options.leftSerialNumber,
           "Serial number of the left glove (17)");
  addCount(command, "--right-serial", 99'999, options.rightSerialNumber,
           "Serial number of the right glove (18)");
  addCount(command, "--revision", 0xFFFF, options.moduleRevision, "Revision of the gloves (5)");
  for (const Setting& setting : settings) {
    const Option option = addTexts(
        command, std::string("--") + setting.command, setting.value,
        [&options, setting](const std::string& value) {
          options.setup.push_back(std::string(setting.command) + " " + value);
        },
        setting.help);
    if (!setting.words.empty()) option.completeWords(setting.words);
  }
  addCount(command, "--seed", UINT64_MAX, options.seed,
           "Seed of movement, noise, neighbours and random faults (1)");
  addTexts(
      command, "--at", "'SECONDS COMMAND'",
      [&options](const std::string& line) { options.schedule.push_back(line); },
      "Execute a command at this time; may be repeated");
  addPath(command, "--scenario", "FILE", options.scenario, "File of such lines; # begins a comment");
}
