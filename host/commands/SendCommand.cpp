// `tessel send`: sends the plug-in a text command and prints the reply.

#include <fmt/format.h>

#include <chrono>
#include <memory>

#include "host/base/Console.h"
#include "host/base/StopRequest.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/HardwareOptions.h"
#include "host/session/GloveConnection.h"

namespace {

struct Options {
  HardwareOptions hardware;
  std::string text;
};

// Keeps reading, which also sends queued commands.
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
  StopRequest stopRequest;
  GloveConnection connection(options.hardware);
  console::report("Looking for the dongle and the gloves...\n");
  Hardware& hardware = connection.open(stopRequest);
  readFor(hardware, 500ms);  // frames carry the battery level
  const std::string reply = hardware.ask(options.text);
  readFor(hardware, 100ms);  // "OK" means queued: the next reads send it
  console::print("{}\n", reply);
}

}  // namespace

void addSend(CLI::App& tessel, ExitCode& exitCode)
{
  using namespace command_line;
  const auto options = std::make_shared<Options>();
  CLI::App& command = addCommand(tessel, "send", "Sends the plug-in a text command and prints the reply.");
  addText(
      command, "TEXT", "TEXT", [&target = *options](const std::string& text) { target.text = text; },
      "the command, in quotes if it has spaces")
      .required();
  addHardwareOptions(command, options->hardware);
  setNotes(command,
           "Commands:  BatteryLevel, GetModuleMap, GetFirmwareVersion, Identify: queries\n"
           "           AutoTune, SequentialScan, StopSequential, \"SensorSelect n\":\n"
           "           sent to the first glove; the reply is OK\n"
           "           SetSerialNumber,m,s: serial number s for glove m, 0 or 1\n"
           "Example:   tessel send GetModuleMap --sim");
  onRun(command, [options, &exitCode] {
    run(*options);
    exitCode = ExitCode::done;
  });
}
