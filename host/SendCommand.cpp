// `tessel send`: one text command of the plug-in, and its answer.

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <chrono>
#include <memory>

#include "host/Commands.h"
#include "host/Console.h"
#include "host/Hardware.h"

namespace {

struct Options {
  HardwareOptions hardware;
  std::string text;
};

// Gives the link so much time.
void readFor(Hardware& hardware, std::chrono::milliseconds time)
{
  const auto end = std::chrono::steady_clock::now() + time;
  while (std::chrono::steady_clock::now() < end) {
    hardware.read();
  }
}

void run(const Options& options)
{
  using namespace std::chrono_literals;
  Interruption interruption;
  Hardware hardware(options.hardware);
  console::tell("Looking for the dongle and the gloves...\n");
  hardware.open(interruption);
  readFor(hardware, 500ms);  // the battery level comes with the first frames
  const std::string reply = hardware.ask(options.text);
  readFor(hardware, 100ms);  // "OK" means queued: the next reads send it, half a second long
  console::print("{}\n", reply);
}

}  // namespace

void addSend(CLI::App& tessel, ExitCode& exitCode)
{
  const auto options = std::make_shared<Options>();
  CLI::App* const command =
      tessel.add_subcommand("send", "Sends the plug-in one text command and prints its answer.");
  command->add_option("TEXT", options->text, "The command, in quotes if it has blanks")->required();
  addHardwareOptions(*command, options->hardware);
  command->footer(
      "Commands:  BatteryLevel, GetModuleMap, GetFirmwareVersion, Identify: questions\n"
      "           AutoTune, SequentialScan, StopSequential, \"SensorSelect n\": to the first glove; OK is "
      "sent\n"
      "           SetSerialNumber,m,s: serial number s for glove m, 0 or 1\n"
      "Example:   tessel send GetModuleMap --sim");
  command->callback([options, &exitCode] {
    run(*options);
    exitCode = ExitCode::done;
  });
}
