// The serial ports of a POSIX system.
//
// The list comes from the environment variable TESSEL_SERIAL_PORTS if it is set, otherwise from sysfs. The
// variable holds entries `FRIENDLY TEXT=PATH` separated by ";", for example `Bluegiga Bluetooth Low Energy
// (COM7)=/tmp/dongle`.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::posix {

struct PortEntry {
  std::string friendlyText;    // "NAME (COMn)"
  std::filesystem::path path;  // of the device

  friend bool operator==(const PortEntry&, const PortEntry&) = default;
};

// The ports that are present now; nothing if there is neither the variable nor sysfs.
std::optional<std::vector<PortEntry>> portList();

// The entries of the variable's text. Pieces without "=" are skipped.
std::vector<PortEntry> portsNamedIn(std::string_view text);

// Those of them whose path exists.
std::vector<PortEntry> portsFromText(std::string_view text);

// The USB serial devices below a directory laid out like /sys/class/tty, dongles first, each group sorted by
// name and then by number. A dongle is recognised by its USB ids; any other device is named by its product
// text. n is the number at the end of the device's name. Nothing if there is no such directory.
std::optional<std::vector<PortEntry>> portsFromSysfs(const std::filesystem::path& ttyClass);

// The device of the first dongle with this port number, which is the one that a search by name finds; other
// ports may have the same number. Nothing if there is none.
std::optional<std::filesystem::path> donglePath(std::int32_t number);

}  // namespace platform::posix
