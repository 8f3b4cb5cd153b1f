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
  std::string place;                      // on the bus, such as "1-2": its folder in /sys/bus/usb/devices
  std::string vendor, product;            // ids, as four hexadecimal digits
  std::string name;                       // its own text, which may be anything
  std::string speed;                      // in Mbit/s
  std::vector<std::string> drivers;       // of its interfaces
  std::string tty;                        // such as "ttyACM0"; empty if there is none
  bool isAuthorized = true;               // not blocked
  std::string powerControl;               // "on", or "auto" if it may be suspended
  std::optional<int> autosuspendDelayMs;  // negative: never suspended

  bool isDongle() const;
};

// The file of a port.
struct DeviceNode {
  std::string tty;  // its name in /dev, or that of what a symbolic link points to
  bool exists = false;
  std::uint32_t owner = 0, group = 0, mode = 0;  // permission bits only
  // By owner, group and mode or, on the real system, by whatever else it knows, such as access lists.
  bool isPermitted = false;
};

struct User {
  static constexpr std::uint32_t unknown = 0xFFFFFFFF;

  std::string name;  // private, as is the next: never part of a report
  std::filesystem::path home;
  std::uint32_t id = unknown;         // effective
  std::vector<std::uint32_t> groups;  // of this process, which a session keeps until it ends
};

// A group in the system's database.
struct Group {
  std::uint32_t id = 0;
  std::string name;
  bool hasUser = false;  // of sessions that begin now, if not of this one
};

struct Memory {
  std::uint64_t totalKiB = 0, availableKiB = 0;
};

struct SystemFacts {
  explicit SystemFacts(const std::filesystem::path& root = "/",
                       std::optional<std::string> portsVariable = ::portsVariable());

  std::string system;  // "Debian GNU/Linux 12 (bookworm)"
  std::string kernel;  // its release
  std::string architecture;
  bool hasKernelModules = false;  // of the running kernel
  unsigned processors = 0;
  std::optional<double> load;             // of a minute
  std::string governor, frequencyDriver;  // of the first processor
  Memory memory;

  std::optional<std::string> portsVariable;  // TESSEL_SERIAL_PORTS
  std::vector<Port> ports;                   // as the plug-in sees them; opened only on Windows
  std::vector<Port> systemPorts;             // as it would see them without the variable
  bool hasUsb = false;                       // the system lists USB devices
  std::vector<UsbDevice> usbDevices;         // of the dongle's vendor

  // Of port(), if there is one.
  DeviceNode node;
  Group nodeGroup;
  User user;
  std::optional<Process> holder;  // has it open or locked, as far as this user may see

  bool hasModemManager = false;          // it is running
  std::filesystem::path udevRule;        // the rules file that grants rights for the dongle; empty: none
  bool isIgnoredByModemManager = false;  // by a rule
  std::filesystem::path deliveredRule;   // the rules file that came with this program; empty: not found

  // The port that the plug-in would use, otherwise the first dongle's; null if there is none.
  const Port* port() const;
  // The dongle of that port, otherwise the first one; null if there is none, or the port is no USB device.
  const UsbDevice* dongle() const;

  // The facts as lines of text.
  std::string report() const;
  // A text for others to read: the home folder as "~", and the user's name as "USER".
  std::string withoutNames(std::string text) const;
};
