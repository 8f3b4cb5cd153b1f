// The serial ports that are present on a POSIX system.
//
// The list comes from the environment variable TESSEL_SERIAL_PORTS where it is set, otherwise from sysfs. The
// variable holds entries `FRIENDLY TEXT=PATH` separated by ";", for example
// `Bluegiga Bluetooth Low Energy (COM7)=/tmp/dongle`.
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

// The ports that are present now. Nothing if there is neither the variable nor sysfs.
std::optional<std::vector<PortEntry>> portList();

// The entries of the variable's text whose path is there at this moment. Pieces with no "=" are passed over.
std::vector<PortEntry> portsFromText(std::string_view text);

// The USB serial devices below a directory laid out like /sys/class/tty, the dongles first, each group by
// name and then by number. A dongle is known by its USB ids, any other device keeps its product text as name;
// n is the number at the end of the device's name. Nothing if there is no such directory.
std::optional<std::vector<PortEntry>> portsFromSysfs(const std::filesystem::path& ttyClass);

// The device of the first dongle with this port number: the one that looking for the dongle by name has
// found. Other ports of the same number do no harm. Nothing if there is none.
std::optional<std::filesystem::path> donglePath(std::int32_t number);

}  // namespace platform::posix
