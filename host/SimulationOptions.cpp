#include "host/SimulationOptions.h"

#include <CLI/CLI.hpp>

#include <array>
#include <string>

namespace {

// Options that are commands of the control, done before the port is there; the control checks their values.
struct Setting {
  const char* option;
  const char* command;
  const char* value;
  const char* help;
};

constexpr std::array settings{
    Setting{"--rate", "rate", "[GLOVE] HZ",
            "Frames per second, 0.1 to 1000 (40), as far as the radio can follow"},
    Setting{"--packets", "packets", "[GLOVE] N", "Packets per frame, 2 to 15 (14, which hold 125 samples)"},
    Setting{"--battery", "battery", "[GLOVE] CODE", "Battery, 0 to 31 (17); 19 is full, 11 and below empty"},
    Setting{"--loss", "loss", "[GLOVE] PERCENT", "So many of the packets are lost"},
    Setting{"--double", "double", "[GLOVE] PERCENT", "So many of the packets come twice"},
    Setting{"--swap", "swap", "[GLOVE] PERCENT", "So many of the packets come after the next one"},
    Setting{"--sensor", "sensor", "'GLOVE POSITION CODE'",
            "A faulty sensor: palm, thumb, index, middle, ring or pinky, and a status from 1 to 255"},
    Setting{"--firmware", "firmware", "A.B.C.D", "The dongle's firmware (1.4.2.130)"},
    Setting{"--restart-time", "restart-time", "SECONDS", "The dongle's, after a reset (0.3)"},
    Setting{"--busy", "busy", "on|off", "Another program holds the port (off)"},
};

void addSetting(CLI::App& command, SimulationOptions& options, const Setting& setting)
{
  command
      .add_option_function<std::vector<std::string>>(
          setting.option,
          [&options, setting](const std::vector<std::string>& values) {
            for (const std::string& value : values) {
              options.setup.push_back(std::string(setting.command) + " " + value);
            }
          },
          setting.help)
      ->type_name(setting.value)
      ->allow_extra_args(false);
}

}  // namespace

void addSimulationOptions(CLI::App& command, SimulationOptions& options)
{
  command
      .add_option_function<std::string>(
          "--gloves",
          [&options](const std::string& gloves) {
            options.hasLeft = gloves != "right";
            options.hasRight = gloves != "left";
          },
          "Which gloves there are (both)")
      ->type_name("left|right|both")
      ->check(CLI::IsMember({"left", "right", "both"}).description(""));
  const auto serialNumber = CLI::Range(0U, 99'999U).description("");
  command.add_option("--left-serial", options.leftSerialNumber, "Serial number of the left glove (17)")
      ->type_name("N")
      ->check(serialNumber);
  command.add_option("--right-serial", options.rightSerialNumber, "Serial number of the right glove (18)")
      ->type_name("N")
      ->check(serialNumber);
  command.add_option("--revision", options.moduleRevision, "Revision of the gloves (5)")->type_name("N");
  for (const Setting& setting : settings) {
    addSetting(command, options, setting);
  }
  command.add_option("--seed", options.seed, "Of movement, noise and faults by chance (1)")->type_name("N");
  command
      .add_option("--at", options.schedule,
                  "Does a command when so many seconds have passed; may be given several times")
      ->type_name("'SECONDS COMMAND'")
      ->allow_extra_args(false);
  command.add_option("--scenario", options.scenario, "A file with such lines; # begins a comment")
      ->type_name("FILE");
}
