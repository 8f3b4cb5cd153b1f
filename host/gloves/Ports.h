// The serial ports of the computer, and whether the dongle's port can be used.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

#include "host/base/Failure.h"

// A program that often holds the ports of modems, and those that it takes for one.
inline constexpr const char* modemManager = "ModemManager";

enum class PortState { free, inUse, noRights, notSerial, gone, tooManyFiles, failing };

struct Port {
  std::string friendlyText;  // "NAME (COMn)"
  std::string path;          // of the device
  bool isDongle = false;
  bool isUsed = false;       // the plug-in uses this one
  bool isUsbDevice = false;  // not a pseudo terminal or any other file
  PortState state = PortState::free;
  std::string detail;  // the process that holds it, or the operating system's message
};

struct Process {
  std::string id, name;
};

// Opens each dongle's port for a moment to test it; other ports are not opened and count as free.
std::vector<Port> listPorts();
// As `tessel ports --json` prints them.
nlohmann::ordered_json portsJson(const std::vector<Port>& ports);

// The value of TESSEL_SERIAL_PORTS, which replaces the system's list of ports. Empty if it is not set, and
// always on Windows.
std::optional<std::string> portsVariable();

// "ModemManager (process 812)"
std::string describe(const Process& process);
// The state as text, without the path.
std::string describe(const Port& port);
// What to do about it; empty for a free port.
std::string adviceFor(const Port& port);
// Why a port that is not free can't be used, and what to do about it.
Failure unusable(const Port& port);

// Why the plug-in finds no dongle, and what to do about it.
Failure noDongle(const std::vector<Port>& ports, const std::optional<std::string>& variable);
