// The serial ports of the computer, and whether the dongle's can be used.
#pragma once

#include <string>
#include <vector>

enum class PortState { free, inUse, noRights, notSerial, gone, tooManyFiles, failing };

struct Port {
  std::string friendlyText;  // "NAME (COMn)"
  std::string path;          // of the device
  bool isDongle = false;
  bool isUsed = false;  // it is the one that the plug-in takes
  PortState state = PortState::free;
  std::string detail;  // who holds it, or what the system says
};

// Tries each dongle's port, which opens it for a moment; other ports are left alone and count as free.
std::vector<Port> listPorts();

// In words, without the path.
std::string describe(const Port& port);
// What to do about it; empty for a port that is free.
std::string adviceFor(const Port& port);
