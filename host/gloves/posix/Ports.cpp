#include "host/gloves/Ports.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include "HwPlugins/HwTessel/platform/FriendlyText.h"
#include "HwPlugins/HwTessel/platform/Platform.h"
#include "HwPlugins/HwTessel/platform/posix/PortList.h"

namespace fs = std::filesystem;

namespace {

// "ModemManager (process 812)".
std::string processText(const std::string& id)
{
  std::string name;
  std::getline(std::ifstream("/proc/" + id + "/comm"), name);
  return fmt::format("{} (process {})", name, id);
}

// The process that holds the lock on the device. A line of /proc/locks reads
// "1: FLOCK ADVISORY WRITE 812 00:18:5 0 EOF", with process id, then device and inode.
std::string lockHolder(const struct stat& device)
{
  const std::string wanted =
      fmt::format("{:02x}:{:02x}:{}", major(device.st_dev), minor(device.st_dev), device.st_ino);
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);) {
    std::istringstream words(line);
    std::string number, kind, mode, access, process, inode;
    words >> number >> kind >> mode >> access >> process >> inode;
    if (inode == wanted) return processText(process);
  }
  return "";
}

// The process that has the device open, if this user may see it.
std::string opener(const fs::path& device)
{
  std::error_code error;
  const fs::path wanted = fs::canonical(device, error);
  for (fs::directory_iterator process("/proc", error), end; !error && process != end;
       process.increment(error)) {
    const std::string id = process->path().filename();
    if (id.find_first_not_of("0123456789") != std::string::npos) continue;
    std::error_code hidden;
    for (fs::directory_iterator file(process->path() / "fd", hidden); !hidden && file != end;
         file.increment(hidden)) {
      std::error_code gone;
      if (fs::read_symlink(file->path(), gone) == wanted) return processText(id);
    }
  }
  return "";
}

PortState stateFor(int error)
{
  switch (error) {
    case EACCES:
    case EPERM:
      return PortState::noRights;
    case EBUSY:
      return PortState::inUse;
    case ENOENT:
    case ENXIO:
    case ENODEV:
      return PortState::gone;
    case EISDIR:
      return PortState::notSerial;
    case EMFILE:
    case ENFILE:
      return PortState::tooManyFiles;
    default:
      return PortState::failing;
  }
}

void tryToOpen(Port& port)
{
  const int descriptor = ::open(port.path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    port.state = stateFor(errno);
    port.detail = port.state == PortState::inUse ? opener(port.path) : std::generic_category().message(errno);
    return;
  }
  if (::isatty(descriptor) == 0) {
    port.state = PortState::notSerial;
  } else if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    struct stat status {};
    ::fstat(descriptor, &status);
    port.state = PortState::inUse;
    port.detail = lockHolder(status);
  }
  ::close(descriptor);
}

bool isSamePath(const fs::path& left, const fs::path& right)
{
  std::error_code error;
  return fs::equivalent(left, right, error);
}

}  // namespace

std::optional<std::string> portsVariable()
{
  const char* const text = std::getenv("TESSEL_SERIAL_PORTS");
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

std::vector<Port> listPorts()
{
  using platform::posix::PortEntry;
  const auto usbDevices =
      platform::posix::portsFromSysfs("/sys/class/tty").value_or(std::vector<PortEntry>());
  bool isFound = false;  // the plug-in uses the first dongle
  std::vector<Port> ports;
  for (const auto& entry : platform::posix::portList().value_or(std::vector<PortEntry>())) {
    Port& port = ports.emplace_back();
    port.friendlyText = entry.friendlyText;
    port.path = entry.path;
    port.isDongle = platform::portNumber(entry.friendlyText, platform::dongleName).has_value();
    port.isUsed = port.isDongle && !std::exchange(isFound, true);
    port.isUsbDevice = std::ranges::any_of(
        usbDevices, [&](const PortEntry& device) { return isSamePath(device.path, entry.path); });
    if (port.isDongle) tryToOpen(port);
  }
  return ports;
}
