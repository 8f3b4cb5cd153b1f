#include "host/Ports.h"

#include <fmt/format.h>

std::string describe(const Port& port)
{
  switch (port.state) {
    case PortState::free:
      return "free";
    case PortState::inUse:
      return port.detail.empty() ? "another program has it open."
                                 : fmt::format("{} has it open.", port.detail);
    case PortState::noRights:
      return "you have no right to use it.";
    case PortState::notSerial:
      return "it is no serial port.";
    case PortState::gone:
      return "it has gone away.";
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
      return "End that program. A ModemManager leaves the dongle alone with the udev rule that the README "
             "names.";
    case PortState::noRights:
      return fmt::format(
          "Install the udev rule that the README names, or: sudo usermod -a -G dialout $USER, and log "
          "in anew. Rights now: ls -lL {}",
          port.path);
    case PortState::notSerial:
      return "TESSEL_SERIAL_PORTS must name the path of a serial port or of a simulated one.";
    case PortState::tooManyFiles:
      return "End programs that have many files open, or raise the limit (on Linux: ulimit -n).";
    case PortState::gone:
    case PortState::failing:
      break;
  }
  return "Unplug the dongle and plug it in again.";
}
