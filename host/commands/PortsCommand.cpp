// `tessel ports`: lists the serial ports and shows which one the plug-in would use.

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>

#include "host/base/Console.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/gloves/Ports.h"

namespace {

ExitCode run(bool isJson)
{
  const std::vector<Port> ports = listPorts();
  if (isJson) {
    console::printJson(portsJson(ports));
  } else {
    for (const Port& port : ports) {
      console::print("{} {}  {}{}\n", port.isUsed ? '*' : ' ', port.friendlyText, port.path,
                     port.isDongle ? ", " + describe(port) : "");
    }
  }
  const auto used = std::ranges::find_if(ports, &Port::isUsed);
  if (used == ports.end()) {
    throw noDongle(ports, portsVariable());
  }
  if (used->state != PortState::free) throw unusable(*used);
  if (isJson) return ExitCode::done;
  console::print("* marks the port that would be used.\n");
  if (portsVariable()) console::print("The list comes from the environment variable TESSEL_SERIAL_PORTS.\n");
  return ExitCode::done;
}

}  // namespace

void addPorts(CLI::App& tessel, ExitCode& exitCode)
{
  using namespace command_line;
  const auto isJson = std::make_shared<bool>(false);
  CLI::App& command =
      addCommand(tessel, "ports", "Lists the serial ports and shows whether the dongle's port can be used.");
  addFlag(command, "--json", *isJson, "Print JSON");
  setNotes(command,
           "Example:   tessel ports\n"
           "The environment variable TESSEL_SERIAL_PORTS, which the plug-in reads too,\n"
           "replaces the system's list of ports.");
  onRun(command, [isJson, &exitCode] { exitCode = run(*isJson); });
}
