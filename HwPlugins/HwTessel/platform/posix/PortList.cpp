#include "platform/posix/PortList.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <utility>

#include "platform/FriendlyText.h"
#include "platform/Platform.h"

namespace platform::posix {

namespace {

namespace fs = std::filesystem;

// A device name such as ttyACM10, split so that it sorts by name and then by number.
using DeviceName = std::pair<std::string, int>;

std::optional<DeviceName> splitDeviceName(const std::string& name)
{
  const std::size_t digits = name.find_last_not_of("0123456789") + 1;
  int number = 0;
  const auto [end, error] = std::from_chars(name.data() + digits, name.data() + name.size(), number);
  if (error != std::errc()) return std::nullopt;
  return DeviceName(name.substr(0, digits), number);
}

std::string firstLine(const fs::path& file)
{
  std::ifstream stream;
  do {
    errno = 0;
    stream.open(file);
  } while (!stream && errno == EINTR);
  std::string line;
  std::getline(stream, line);
  return line;
}

// What is in a directory. The standard library's iterator would end the process if there is no memory.
std::optional<std::vector<std::string>> namesIn(const fs::path& path)
{
  struct Closer {
    void operator()(DIR* directory) const { ::closedir(directory); }
  };
  const std::unique_ptr<DIR, Closer> directory(::opendir(path.c_str()));
  if (!directory) return std::nullopt;
  std::vector<std::string> names;
  while (const dirent* const entry = ::readdir(directory.get())) {
    names.emplace_back(entry->d_name);
  }
  return names;
}

// The USB device that a tty belongs to: the nearest directory above its device that has a vendor id.
std::optional<fs::path> usbDevice(const fs::path& tty)
{
  std::error_code error;
  fs::path directory = fs::canonical(tty / "device", error);
  if (error) return std::nullopt;
  for (; directory.has_relative_path(); directory = directory.parent_path()) {
    if (fs::exists(directory / "idVendor", error)) return directory;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::vector<PortEntry>> portList()
{
  if (const char* text = std::getenv("TESSEL_SERIAL_PORTS")) return portsFromText(text);
  return portsFromSysfs("/sys/class/tty");
}

std::vector<PortEntry> portsNamedIn(std::string_view text)
{
  std::vector<PortEntry> ports;
  while (!text.empty()) {
    const std::string_view entry = text.substr(0, text.find(';'));
    text.remove_prefix(std::min(entry.size() + 1, text.size()));
    const std::size_t equals = entry.find('=');
    if (equals == std::string_view::npos) continue;
    ports.push_back({.friendlyText = std::string(entry.substr(0, equals)), .path = entry.substr(equals + 1)});
  }
  return ports;
}

std::vector<PortEntry> portsFromText(std::string_view text)
{
  std::vector<PortEntry> ports = portsNamedIn(text);
  std::erase_if(ports, [](const PortEntry& port) {
    // One of which the system can't say it is tried: then the error is not that there is none.
    std::error_code error;
    return !fs::exists(port.path, error) && !error;
  });
  return ports;
}

std::optional<std::vector<PortEntry>> portsFromSysfs(const fs::path& ttyClass)
{
  const auto names = namesIn(ttyClass);
  if (!names) return std::nullopt;

  std::map<std::pair<bool, DeviceName>, PortEntry> sorted;  // dongles first
  for (const std::string& deviceName : *names) {
    const auto split = splitDeviceName(deviceName);
    const auto usb = split ? usbDevice(ttyClass / deviceName) : std::nullopt;
    if (!usb) continue;
    const bool isDongle =
        firstLine(*usb / "idVendor") == dongleVendor && firstLine(*usb / "idProduct") == dongleProduct;
    const std::string name = isDongle ? dongleName : firstLine(*usb / "product");
    sorted[{!isDongle, *split}] = {.friendlyText = name + " (COM" + std::to_string(split->second) + ")",
                                   .path = fs::path("/dev") / deviceName};
  }

  std::vector<PortEntry> ports;
  ports.reserve(sorted.size());
  for (auto& [key, port] : sorted) {
    ports.push_back(std::move(port));
  }
  return ports;
}

std::optional<fs::path> donglePath(std::int32_t number)
{
  const auto ports = portList();
  if (!ports) return std::nullopt;
  const auto port = std::ranges::find_if(*ports, [number](const PortEntry& entry) {
    return portNumber(entry.friendlyText, dongleName) == number;
  });
  return port == ports->end() ? std::nullopt : std::optional(port->path);
}

}  // namespace platform::posix

std::optional<std::vector<std::string>> platform::presentPorts()
{
  const auto ports = posix::portList();
  if (!ports) return std::nullopt;
  std::vector<std::string> texts;
  for (const posix::PortEntry& port : *ports) {
    texts.push_back(port.friendlyText);
  }
  return texts;
}
