#include "host/doctor/SystemFacts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <thread>

#include "HwPlugins/HwTessel/platform/Platform.h"
#include "host/base/System.h"
#include "host/base/posix/SystemTree.h"
#include "host/gloves/posix/PortFacts.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* usbFolder = "/sys/bus/usb/devices";

std::vector<std::string> split(const std::string& text, char separator)
{
  std::vector<std::string> pieces;
  std::istringstream stream(text);
  for (std::string piece; std::getline(stream, piece, separator);) {
    pieces.push_back(piece);
  }
  return pieces;
}

// PRETTY_NAME="Debian GNU/Linux 12 (bookworm)"
std::string systemName(const SystemTree& system)
{
  constexpr std::string_view key = "PRETTY_NAME=";
  for (const char* const file : {"/etc/os-release", "/usr/lib/os-release"}) {
    for (std::string line : system.lines(file)) {
      if (!line.starts_with(key)) continue;
      line.erase(0, key.size());
      std::erase(line, '"');
      return line.substr(0, 100);
    }
  }
  return "";
}

// Lines such as "MemTotal:       16303428 kB".
Memory memoryOf(const SystemTree& system)
{
  Memory memory;
  for (const std::string& line : system.lines("/proc/meminfo")) {
    std::istringstream words(line);
    std::string key;
    std::uint64_t kiB = 0;
    words >> key >> kiB;
    if (key == "MemTotal:") memory.totalKiB = kiB;
    if (key == "MemAvailable:") memory.availableKiB = kiB;
  }
  return memory;
}

// The effective ids of this process: lines such as "Uid:\t1000\t1000\t1000\t1000", with the effective one in
// the second place, and "Groups:\t20 1000". Then the user's entry, "name:x:1000:1000:Real
// Name:/home/name:shell".
User userOf(const SystemTree& system)
{
  User user;
  for (const std::string& line : system.lines("/proc/self/status")) {
    std::istringstream words(line);
    std::string key;
    std::uint32_t real = 0, effective = 0;
    words >> key;
    if (key == "Groups:") {
      for (std::uint32_t group = 0; words >> group;) {
        user.groups.push_back(group);
      }
    } else if ((key == "Uid:" || key == "Gid:") && words >> real >> effective) {
      if (key == "Uid:")
        user.id = effective;
      else
        user.groups.push_back(effective);
    }
  }
  for (const std::string& line : system.lines("/etc/passwd")) {
    const auto fields = split(line, ':');
    if (fields.size() < 6 || leadingNumber<std::uint32_t>(fields[2]) != user.id) continue;
    user.name = fields[0];
    user.home = fields[5];
    break;
  }
  return user;
}

// The group's entry, "dialout:x:20:name,name". Members by their primary group are not in it, but have it in
// every session.
Group groupOf(const SystemTree& system, std::uint32_t id, const User& user)
{
  for (const std::string& line : system.lines("/etc/group")) {
    const auto fields = split(line, ':');
    if (fields.size() < 3 || leadingNumber<std::uint32_t>(fields[2]) != id) continue;
    const auto members = fields.size() > 3 ? split(fields[3], ',') : std::vector<std::string>();
    return {id, fields[0], !user.name.empty() && std::ranges::count(members, user.name) > 0};
  }
  return {};
}

DeviceNode nodeOf(const SystemTree& system, const std::string& path, const User& user)
{
  DeviceNode node{.tty = system.resolved(path).filename()};
  struct stat status {};
  if (::stat(system.place(path).c_str(), &status) != 0) return node;
  node.exists = true;
  node.owner = status.st_uid;
  node.group = status.st_gid;
  node.mode = status.st_mode & 0777U;
  const unsigned shift = user.id == node.owner ? 6 : std::ranges::count(user.groups, node.group) > 0 ? 3 : 0;
  constexpr unsigned readAndWrite = 06;
  node.isPermitted = user.id == 0 || ((node.mode >> shift) & readAndWrite) == readAndWrite ||
                     (system.isReal() && ::faccessat(AT_FDCWD, path.c_str(), R_OK | W_OK, AT_EACCESS) == 0);
  return node;
}

UsbDevice usbDevice(const SystemTree& system, const std::string& place)
{
  const fs::path folder = fs::path(usbFolder) / place;
  UsbDevice device;
  device.place = place;
  device.vendor = system.line(folder / "idVendor");
  device.product = system.line(folder / "idProduct");
  device.name = system.line(folder / "product");
  device.speed = system.line(folder / "speed");
  device.isAuthorized = system.line(folder / "authorized") != "0";
  device.powerControl = system.line(folder / "power/control");
  device.autosuspendDelayMs = leadingNumber<int>(system.line(folder / "power/autosuspend_delay_ms"));
  for (const std::string& interface : system.names(folder)) {
    if (!interface.starts_with(place + ":")) continue;
    const std::string driver = system.target(folder / interface / "driver").filename();
    if (!driver.empty() && std::ranges::count(device.drivers, driver) == 0) device.drivers.push_back(driver);
    const auto ttys = system.names(folder / interface / "tty");
    if (device.tty.empty() && !ttys.empty()) device.tty = ttys.front();
  }
  return device;
}

void readUsb(const SystemTree& system, SystemFacts& facts)
{
  for (const std::string& place : system.names(usbFolder)) {
    facts.hasUsb = true;
    if (system.line(fs::path(usbFolder) / place / "idVendor") == platform::dongleVendor)
      facts.usbDevices.push_back(usbDevice(system, place));
  }
}

// A file hides those of the same name in the folders after its own.
void readUdevRules(const SystemTree& system, SystemFacts& facts)
{
  std::map<std::string, fs::path> rules;
  for (const fs::path folder : {"/etc/udev/rules.d", "/run/udev/rules.d", "/usr/local/lib/udev/rules.d",
                                "/usr/lib/udev/rules.d", "/lib/udev/rules.d"}) {
    for (const std::string& name : system.names(folder)) {
      if (name.ends_with(".rules")) rules.try_emplace(name, folder / name);
    }
  }
  for (const auto& [name, file] : rules) {
    for (const std::string& line : system.lines(file)) {
      if (line.starts_with('#') || line.find(platform::dongleVendor) == std::string::npos) continue;
      if (line.find("MODE") != std::string::npos || line.find("uaccess") != std::string::npos)
        facts.udevRule = file;
      if (line.find("ID_MM_") != std::string::npos) facts.isIgnoredByModemManager = true;
    }
  }
}

// In the folder that the program was installed to, or in that of its sources, where it was built.
fs::path findDeliveredRule()
{
  constexpr const char* name = "60-tessel.rules";
  const fs::path program = host::programFolder();
  for (const char* const folder : {"../lib/udev/rules.d", "../../../share/udev"}) {
    const fs::path file = (program / folder / name).lexically_normal();
    std::error_code ignored;
    if (fs::exists(file, ignored)) return file;
  }
  return {};
}

}  // namespace

SystemFacts::SystemFacts(const fs::path& root, std::optional<std::string> variable)
    : portsVariable(std::move(variable)), deliveredRule(findDeliveredRule())
{
  const SystemTree tree(root);
  system = systemName(tree);
  kernel = tree.line("/proc/sys/kernel/osrelease");
  hasKernelModules = !kernel.empty() && tree.exists(fs::path("/lib/modules") / kernel);
  utsname name{};
  if (::uname(&name) == 0) architecture = name.machine;
  processors = std::thread::hardware_concurrency();
  load = leadingNumber<double>(tree.line("/proc/loadavg"));
  const fs::path frequency = "/sys/devices/system/cpu/cpu0/cpufreq";
  governor = tree.line(frequency / "scaling_governor");
  frequencyDriver = tree.line(frequency / "scaling_driver");
  memory = memoryOf(tree);

  user = userOf(tree);
  ports = presentPorts(tree, portsVariable);
  systemPorts = presentPorts(tree, std::nullopt);
  readUsb(tree, *this);
  if (const Port* const used = port()) {
    node = nodeOf(tree, used->path, user);
    nodeGroup = groupOf(tree, node.group, user);
    holder = lockHolder(tree, used->path);
    // A simulated port is always open in the program that simulates it.
    if (!holder && used->isUsbDevice) holder = opener(tree, used->path);
  }
  hasModemManager = std::ranges::any_of(processes(tree),
                                        [](const Process& process) { return process.name == modemManager; });
  readUdevRules(tree, *this);
}
