// The serial ports of the computer, and whether the dongle's can be used.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/base/Failure.h"

enum class PortState { free, inUse, noRights, notSerial, gone, tooManyFiles, failing };

struct Port {
  std::string friendlyText;  // "NAME (COMn)"
  std::string path;          // of the device
  bool isDongle = false;
  bool isUsed = false;       // it is the one that the plug-in takes
  bool isUsbDevice = false;  // and neither a pseudo terminal nor a file that only poses as a port
  PortState state = PortState::free;
  std::string detail;  // who holds it, or what the system says
};

// Tries each dongle's port, which opens it for a moment; other ports are left alone and count as free.
std::vector<Port> listPorts();

// The value of TESSEL_SERIAL_PORTS, which replaces the system's list of ports. None if it is not set, or
// where the system's list is all there is.
std::optional<std::string> portsVariable();

// In words, without the path.
std::string describe(const Port& port);
// What to do about it; empty for a port that is free.
std::string adviceFor(const Port& port);

// Why the plug-in finds no dongle, and what to do about it.
Failure noDongle(const std::vector<Port>& ports, const std::optional<std::string>& variable);
