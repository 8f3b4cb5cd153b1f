#include "host/doctor/SystemFacts.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "HwPlugins/HwTessel/platform/Platform.h"
#include "host/base/Characters.h"
#include "host/base/Text.h"

namespace {

bool isNameCharacter(char character)
{
  return character == '_' || character == '-' || (character >= '0' && character <= '9') ||
         (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

// Replaces it where it is not part of a longer name.
void replaceName(std::string& text, const std::string& name, const std::string& replacement)
{
  if (name.empty()) return;
  for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
    const std::size_t end = at + name.size();
    const bool isWhole = (at == 0 || !isNameCharacter(text[at - 1]) || !isNameCharacter(name.front())) &&
                         (end == text.size() || !isNameCharacter(text[end]));
    if (isWhole) text.replace(at, name.size(), replacement);
    at += isWhole ? replacement.size() : 1;
  }
}

const char* yesNo(bool value)
{
  return value ? "yes" : "no";
}

}  // namespace

bool UsbDevice::isDongle() const
{
  return vendor == platform::dongleVendor && product == platform::dongleProduct;
}

const Port* SystemFacts::port() const
{
  const auto used = std::ranges::find_if(ports, &Port::isUsed);
  if (used != ports.end()) return &*used;
  const auto other = std::ranges::find_if(systemPorts, &Port::isUsed);
  return other == systemPorts.end() ? nullptr : &*other;
}

const UsbDevice* SystemFacts::dongle() const
{
  const Port* const used = port();
  if (used != nullptr && !used->isUsbDevice) return nullptr;
  const auto isOfPort = [&](const UsbDevice& device) {
    return device.isDongle() && (used == nullptr || device.tty == node.tty);
  };
  const auto device = std::ranges::find_if(usbDevices, isOfPort);
  return device == usbDevices.end() ? nullptr : &*device;
}

std::string SystemFacts::report() const
{
  std::string text;
  const auto add = [&text](const char* what, const std::string& value) {
    text += fmt::format("{}: {}\n", what, printable(value));
  };
  add("system", system);
  add("kernel", kernel);
  add("architecture", architecture);
  add("modules of the kernel", yesNo(hasKernelModules));
  add("processors", std::to_string(processors));
  add("load", load ? fmt::format("{:.2f}", *load) : "unknown");
  add("frequency governor", fmt::format("{} ({})", governor, frequencyDriver));
  add("memory", fmt::format("{} KiB, {} KiB available", memory.totalKiB, memory.availableKiB));
  add("TESSEL_SERIAL_PORTS", portsVariable ? withoutNames(*portsVariable) : "not set");
  for (const auto& [what, list] :
       {std::pair("port", &ports), std::pair("port of the system", &systemPorts)}) {
    for (const Port& port : *list) {
      add(what, fmt::format("{}, {}{}{}", withoutNames(port.friendlyText), withoutNames(port.path),
                            port.isUsbDevice ? ", USB" : "", port.isUsed ? ", used" : ""));
    }
  }
  add("USB", yesNo(hasUsb));
  for (const UsbDevice& device : usbDevices) {
    add("USB device",
        fmt::format("{} {}:{} {}, {} Mbit/s, {}, drivers {}, tty {}, power {} (delay {} ms)", device.place,
                    device.vendor, device.product, device.name, device.speed,
                    device.isAuthorized ? "authorized" : "blocked", fmt::join(device.drivers, " "),
                    device.tty, device.powerControl, device.autosuspendDelayMs.value_or(0)));
  }
  if (port() != nullptr) {
    add("node", node.exists
                    ? fmt::format("{} mode {:o}, {}, group {}", node.tty, node.mode,
                                  node.owner == 0 ? "of root" : "not of root", withoutNames(nodeGroup.name))
                    : "missing");
    add("permitted", yesNo(node.isPermitted));
    add("in its group", fmt::format("{} (this session: {})", yesNo(nodeGroup.hasUser),
                                    yesNo(std::ranges::count(user.groups, nodeGroup.id) > 0)));
    add("held by", holder ? holder->name : "no known process");
  }
  add("root", yesNo(user.id == 0));
  add("ModemManager", fmt::format("{}{}", hasModemManager ? "running" : "not running",
                                  isIgnoredByModemManager ? ", ignores the dongle" : ""));
  add("udev rule", withoutNames(utf8(udevRule)));
  return text;
}

std::string SystemFacts::withoutNames(std::string text) const
{
  replaceName(text, utf8(user.home), "~");
  if (user.id != 0) replaceName(text, user.name, "USER");
  return text;
}
