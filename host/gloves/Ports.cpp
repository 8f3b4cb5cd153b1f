#include "host/gloves/Ports.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

nlohmann::ordered_json portsJson(const std::vector<Port>& ports)
{
  auto json = nlohmann::ordered_json::array();
  for (const Port& port : ports) {
    json.push_back({{"text", port.friendlyText},
                    {"path", port.path},
                    {"isDongle", port.isDongle},
                    {"isUsed", port.isUsed},
                    {"state", describe(port)}});
  }
  return json;
}

std::string describe(const Process& process)
{
  return fmt::format("{} (process {})", process.name, process.id);
}

std::string describe(const Port& port)
{
  switch (port.state) {
    case PortState::free:
      return "free";
    case PortState::inUse:
      return port.detail.empty() ? "another program has it open."
                                 : fmt::format("{} has it open.", port.detail);
    case PortState::noRights:
      return "you have no permission to use it.";
    case PortState::notSerial:
      return "it is no serial port.";
    case PortState::gone:
      return "it has disappeared.";
    case PortState::tooManyFiles:
    case PortState::failing:
      break;
  }
  return port.detail;
}

std::string adviceFor(const Port& port)
{
  switch (port.state) {
    case PortState::free:
      return "";
    case PortState::inUse:
      return port.detail.starts_with(modemManager)
                 ? "Install the udev rule from the README, which makes ModemManager ignore the dongle."
                 : "End that program.";
    case PortState::noRights:
      return port.isUsbDevice ? fmt::format(
                                    "Install the udev rule from the README, or run: sudo usermod -a -G "
                                    "dialout $USER, and log in again. Permissions now: ls -lL {}",
                                    port.path)
                              : fmt::format("Check its permissions: ls -lL {}", port.path);
    case PortState::notSerial:
      return "TESSEL_SERIAL_PORTS must name the path of a serial port or of a simulated one. To use a dongle "
             "that is plugged in: unset TESSEL_SERIAL_PORTS";
    case PortState::tooManyFiles:
      return "End programs that have many files open, or raise the limit (on Linux: ulimit -n).";
    case PortState::gone:
    case PortState::failing:
      break;
  }
  return port.isUsbDevice ? "Unplug the dongle and plug it in again."
                          : "Check what TESSEL_SERIAL_PORTS names.";
}

Failure unusable(const Port& port)
{
  return {ExitCode::port, fmt::format("{} can't be used: {}", port.path, describe(port)), adviceFor(port)};
}

Failure noDongle(const std::vector<Port>& ports, const std::optional<std::string>& variable)
{
  const bool isNamed = std::ranges::any_of(ports, &Port::isDongle);
  if (!variable) {
    return {ExitCode::noDongle,
            ports.empty() ? "there is no USB serial port."
            : isNamed     ? "the dongle is not present."
                          : "none of the serial ports is a dongle's.",
            "Plug the dongle in and run `tessel ports`. To try without one: tessel record --sim"};
  }
  const bool hasEntries = variable->empty() || variable->find('=') != std::string::npos;
  const char* const reason =
      !hasEntries     ? "it has no entry of the form \"Bluegiga Bluetooth Low Energy (COMn)=PATH\""
      : ports.empty() ? "none of the paths in it exists"
      : isNamed       ? "the dongle that it names is not present"
                      : "none of its ports that exist is called \"Bluegiga Bluetooth Low Energy (COMn)\"";
  return {ExitCode::noDongle,
          fmt::format(
              "there is no dongle: TESSEL_SERIAL_PORTS is set, which replaces the system's list of ports, "
              "and {}. Its value: {}",
              reason, *variable),
          "To use a dongle that is plugged in: unset TESSEL_SERIAL_PORTS"};
}
