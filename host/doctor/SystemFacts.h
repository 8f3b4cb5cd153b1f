// What the doctor reads of the computer: read once, by the constructor, and never changed. Nothing read is
// trusted: sizes are bounded, and what is missing, unreadable or strange stays empty.
// Below another root folder than "/", only that folder's files are read, so tests use made-up trees.
// On Windows only system, memory and ports are known.
// Errors: throws only std::bad_alloc.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/gloves/Ports.h"

struct UsbDevice {
  std::string place;                 // on the bus, such as "1-2": its folder in /sys/bus/usb/devices
  std::string vendor, product;       // ids, as four hexadecimal digits
  std::string name;                  // its own text, which may be anything
  std::string speed;                 // in Mbit/s
  std::vector<std::string> drivers;  // of its interfaces
  std::string tty;                   // such as "ttyACM0"; empty if there is none
  bool isAuthorized = true;
  std::string powerControl;               // "on", or "auto" if it may be suspended
  std::optional<int> autosuspendDelayMs;  // negative: never suspended

  bool isDongle() const;
};

// The file of a port.
struct DeviceNode {
  bool exists = false;
  std::uint32_t owner = 0, group = 0, mode = 0;  // permission bits only
  // By owner, group and mode or, of the real system, by whatever else the system knows, such as access lists.
  bool isPermitted = false;
};

struct User {
  std::string name;  // private: never part of a report
  std::optional<std::uint32_t> id;
  std::vector<std::uint32_t> groups;  // of this process, which a session keeps until it ends
};

// A group in the system's database.
struct Group {
  std::uint32_t id = 0;
  std::string name;
  bool hasUser = false;  // this user is a member, perhaps only of sessions begun later
};

struct Memory {
  std::uint64_t totalKiB = 0, availableKiB = 0;
};

struct SystemFacts {
  explicit SystemFacts(const std::filesystem::path& root = "/",
                       std::optional<std::string> portsVariable = ::portsVariable());

  std::string system;  // "Debian GNU/Linux 12 (bookworm)"
  std::string kernel;  // release
  std::string architecture;
  bool hasKernelModules = false;  // of the running kernel
  unsigned processors = 0;
  std::optional<double> load;             // over a minute
  std::string governor, frequencyDriver;  // of the first processor
  Memory memory;

  User user;
  std::vector<Group> groups;  // those that have this user, and those of ports

  std::optional<std::string> portsVariable;  // TESSEL_SERIAL_PORTS
  std::vector<Port> ports;                   // as the plug-in sees them; not opened, except on Windows
  bool hasUsb = false;                       // the system lists USB devices
  std::vector<UsbDevice> usbDevices;         // of the dongle's vendor

  // Of the port that the plug-in would use; without one, of nothing.
  DeviceNode node;
  std::string holder;  // "NAME (process ID)"; empty if no process is known to have it open

  bool hasModemManager = false;    // it is running
  std::filesystem::path udevRule;  // the rules file in use for the dongle; empty if there is none
  bool udevRuleStopsModemManager = false;
  std::filesystem::path deliveredRule;  // the rules file that came with this program; empty if not found

  const Port* usedPort() const;
  // The dongle of the used port, otherwise the first; null if there is none.
  const UsbDevice* dongle() const;

  // The facts as lines of text, without names of user and computer.
  std::string report() const;
};

// A text for others to read, with the user's home folder shortened to "~".
std::string withoutHome(std::string text);
