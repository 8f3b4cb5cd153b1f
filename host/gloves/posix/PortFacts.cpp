#include "host/gloves/posix/PortFacts.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "HwPlugins/HwTessel/platform/FriendlyText.h"
#include "HwPlugins/HwTessel/platform/Platform.h"
#include "HwPlugins/HwTessel/platform/posix/PortList.h"

namespace fs = std::filesystem;
using platform::posix::PortEntry;

namespace {

Process process(const SystemTree& system, const std::string& id)
{
  return {.id = id, .name = system.line("/proc/" + id + "/comm")};
}

}  // namespace

std::vector<Port> presentPorts(const SystemTree& system, const std::optional<std::string>& variable)
{
  const auto usbDevices =
      platform::posix::portsFromSysfs(system.place("/sys/class/tty")).value_or(std::vector<PortEntry>());
  auto entries = usbDevices;
  if (variable) {
    entries = platform::posix::portsNamedIn(*variable);
    std::erase_if(entries, [&](const PortEntry& entry) { return !system.exists(entry.path); });
  }
  bool isFound = false;  // the plug-in uses the first dongle
  std::vector<Port> ports;
  for (const PortEntry& entry : entries) {
    Port& port = ports.emplace_back();
    port.friendlyText = entry.friendlyText;
    port.path = entry.path;
    port.isDongle = platform::portNumber(entry.friendlyText, platform::dongleName).has_value();
    port.isUsed = port.isDongle && !std::exchange(isFound, true);
    port.isUsbDevice =
        std::ranges::find(usbDevices, system.resolved(entry.path), &PortEntry::path) != usbDevices.end();
  }
  return ports;
}

// A line of /proc/locks reads "1: FLOCK ADVISORY WRITE 812 00:18:5 0 EOF", with process id, then device and
// inode.
std::optional<Process> lockHolder(const SystemTree& system, const fs::path& device)
{
  struct stat status {};
  if (::stat(system.place(device).c_str(), &status) != 0) return std::nullopt;
  const std::string wanted =
      fmt::format("{:02x}:{:02x}:{}", major(status.st_dev), minor(status.st_dev), status.st_ino);
  for (const std::string& line : system.lines("/proc/locks")) {
    std::istringstream words(line);
    std::string number, kind, mode, access, holder, inode;
    words >> number >> kind >> mode >> access >> holder >> inode;
    if (inode == wanted) return process(system, holder);
  }
  return std::nullopt;
}

std::optional<Process> opener(const SystemTree& system, const fs::path& device)
{
  const fs::path wanted = system.resolved(device);
  for (const Process& holder : processes(system)) {
    const fs::path files = fs::path("/proc") / holder.id / "fd";
    for (const std::string& file : system.names(files)) {
      if (system.target(files / file) == wanted) return holder;
    }
  }
  return std::nullopt;
}

std::vector<Process> processes(const SystemTree& system)
{
  std::vector<Process> processes;
  for (const std::string& name : system.names("/proc")) {
    if (name.find_first_not_of("0123456789") == std::string::npos) processes.push_back(process(system, name));
  }
  return processes;
}
