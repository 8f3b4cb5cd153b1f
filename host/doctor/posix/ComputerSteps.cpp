#include "host/doctor/ComputerSteps.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "host/base/Text.h"
#include "host/doctor/StepResults.h"

namespace {

constexpr const char* noUsbDevice = "the port is no USB device";
constexpr const char* replug = "Unplug the dongle and plug it in again.";

// For a shell.
std::string quoted(const std::filesystem::path& path)
{
  std::string text = "'";
  for (const char character : utf8(path)) {
    text += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return text + "'";
}

// Why there is no dongle's port to look at.
std::string noPort(const SystemFacts& facts)
{
  return facts.usbDevices.empty() ? "there is no dongle" : "the dongle has no port";
}

std::string noNode(const Port& port)
{
  return fmt::format("there is no {}", port.path);
}

bool isOtherPort(const SystemFacts& facts)
{
  return facts.port() != nullptr && !facts.port()->isUsbDevice;
}

std::string otherPort(const SystemFacts& facts)
{
  return fmt::format("TESSEL_SERIAL_PORTS names {}, which is no USB device: probably a simulated port",
                     facts.port()->path);
}

std::string installRule(const SystemFacts& facts)
{
  const bool isKnown = !facts.deliveredRule.empty();
  return fmt::format(
      "Install the udev rule, then unplug the dongle and plug it in again{}:\n"
      "sudo cp {} /etc/udev/rules.d/\n"
      "sudo udevadm control --reload",
      isKnown ? "" : " (the file is in the folder of the sources)",
      isKnown ? quoted(facts.deliveredRule) : "share/udev/60-tessel.rules");
}

Step portsVariableStep(const SystemFacts& facts)
{
  constexpr const char* name = "ports-variable";
  if (!facts.portsVariable)
    return ok(name, "TESSEL_SERIAL_PORTS is not set; the system's list of ports is used");
  if (std::ranges::none_of(facts.ports, &Port::isUsed)) {
    return failed(
        name, noDongle(facts.ports, facts.portsVariable),
        "\nTo find where it is set:\n"
        "grep -sn TESSEL_SERIAL_PORTS ~/.profile ~/.bashrc ~/.bash_profile ~/.zshrc /etc/environment "
        "/etc/profile.d/*");
  }
  if (isOtherPort(facts)) return ok(name, otherPort(facts));
  return ok(name, fmt::format("TESSEL_SERIAL_PORTS names {}", facts.port()->path));
}

Step usbStep(const SystemFacts& facts)
{
  constexpr const char* name = "usb";
  if (isOtherPort(facts)) return skipped(name, otherPort(facts));
  const auto dongles = std::ranges::count_if(facts.usbDevices, &UsbDevice::isDongle);
  if (const UsbDevice* const dongle = facts.dongle()) {
    return ok(name, fmt::format("{} ({}:{}), {} Mbit/s, at USB port {}{}", dongle->name, dongle->vendor,
                                dongle->product, dongle->speed, dongle->place,
                                dongles > 1 ? fmt::format("; the first of {} dongles", dongles) : ""));
  }
  if (!facts.hasUsb) {
    return failed(
        name, ExitCode::noDongle, "this system has no USB devices at all.",
        "If it is a virtual machine or a container, hand the dongle on to it; its USB ID is 2458:0001.");
  }
  if (!facts.usbDevices.empty()) {
    const UsbDevice& other = facts.usbDevices.front();
    return failed(
        name, ExitCode::noDongle,
        fmt::format("{} ({}:{}) is of the dongle's maker, but is no dongle (2458:0001).", other.name,
                    other.vendor, other.product),
        "If it is the dongle, an update of its firmware may have been interrupted. Unplug it and plug "
        "it in again; if that does not help, write its firmware again.");
  }
  return failed(name, noDongle(facts.systemPorts, std::nullopt),
                "\nTo see whether the system notices it, plug it in while this runs:\nsudo dmesg --follow");
}

Step driverStep(const SystemFacts& facts)
{
  constexpr const char* name = "driver";
  constexpr const char* driver = "cdc_acm";
  if (isOtherPort(facts)) return skipped(name, noUsbDevice);
  const UsbDevice* const dongle = facts.dongle();
  if (dongle == nullptr) return skipped(name, "there is no dongle");
  if (!dongle->tty.empty())
    return ok(name, fmt::format("{} made {}", fmt::join(dongle->drivers, " "), dongle->tty));
  if (!dongle->isAuthorized) {
    return failed(name, ExitCode::noDongle, "the system blocks the dongle, so it has no serial port.",
                  fmt::format("Allow it, for now with:\n"
                              "echo 1 | sudo tee /sys/bus/usb/devices/{}/authorized\n"
                              "If USBGuard is in use, for good with:\n"
                              "sudo usbguard list-devices --blocked\n"
                              "sudo usbguard allow-device -p NUMBER",
                              dongle->place));
  }
  if (!dongle->drivers.empty() && std::ranges::count(dongle->drivers, driver) == 0) {
    return failed(name, ExitCode::noDongle,
                  fmt::format("the driver {} has taken the dongle, so it has no serial port.",
                              fmt::join(dongle->drivers, " ")),
                  fmt::format("End the virtual machine or the program that uses it. {}", replug));
  }
  if (!facts.hasKernelModules) {
    return failed(name, ExitCode::noDongle,
                  fmt::format("the driver {} can't be loaded: the modules of the running kernel {} are not "
                              "installed.",
                              driver, facts.kernel),
                  "If the system was updated since it was started, restart it:\nsudo reboot");
  }
  return failed(
      name, ExitCode::noDongle, fmt::format("no driver has made a serial port of the dongle."),
      fmt::format("Load the driver, and see what the kernel says:\nsudo modprobe {}\nsudo dmesg | tail",
                  driver));
}

Port inState(const Port& port, PortState state, std::string detail = "")
{
  Port result = port;
  result.state = state;
  result.detail = std::move(detail);
  return result;
}

Step portStep(const SystemFacts& facts)
{
  constexpr const char* name = "port";
  const Port* const port = facts.port();
  if (port == nullptr) return skipped(name, noPort(facts));
  if (facts.node.exists) return ok(name, fmt::format("{} is {}", port->path, port->friendlyText));
  return failed(name, unusable(inState(*port, PortState::gone)),
                "\nIf this is a container, start it again with the device:\n"
                "docker run --device " +
                    port->path + " ...");
}

Step rightsStep(const SystemFacts& facts)
{
  constexpr const char* name = "rights";
  const Port* const port = facts.port();
  if (port == nullptr) return skipped(name, noPort(facts));
  const DeviceNode& node = facts.node;
  if (!node.exists) return skipped(name, noNode(*port));
  const Group& group = facts.nodeGroup;
  if (node.isPermitted)
    return ok(name, fmt::format("you may use {} (mode {:o}, group {})", port->path, node.mode, group.name));

  const Failure failure = unusable(inState(*port, PortState::noRights));
  if (!port->isUsbDevice) return failed(name, failure);
  constexpr unsigned groupReadsAndWrites = 0060;
  const bool hasGroup =
      (node.mode & groupReadsAndWrites) == groupReadsAndWrites && !group.name.empty() && group.name != "root";
  if (hasGroup && group.hasUser) {
    return failed(name, failure.code(),
                  fmt::format("{} You are in the group {}, but this session is older than that.",
                              failure.what(), group.name),
                  fmt::format("Log out and in again, or restart the computer. For this terminal only:\n"
                              "newgrp {}",
                              group.name));
  }
  std::string fix = facts.udevRule.empty()
                        ? installRule(facts)
                        : fmt::format(
                              "The udev rule ({}) applies to the user at the computer, from when the "
                              "dongle is plugged in. {}",
                              utf8(facts.udevRule), replug);
  if (hasGroup) {
    fix += fmt::format("\nOr join the group {}, then log out and in again:\nsudo usermod -a -G {} $USER",
                       group.name, group.name);
  }
  return failed(name, failure.code(), failure.what(), fix);
}

Step holderStep(const SystemFacts& facts)
{
  constexpr const char* name = "holder";
  const Port* const port = facts.port();
  if (port == nullptr) return skipped(name, noPort(facts));
  if (!facts.node.exists) return skipped(name, noNode(*port));
  if (!facts.holder) {
    return ok(name, fmt::format("no other program has {} open{}", port->path,
                                facts.user.id == 0 ? "" : ", as far as you may see"));
  }
  const Failure failure = unusable(inState(*port, PortState::inUse, describe(*facts.holder)));
  if (facts.holder->name != modemManager) {
    return failed(name, failure, fmt::format("\nps -fp {}\nkill {}", facts.holder->id, facts.holder->id));
  }
  return failed(name, failure.code(), failure.what(),
                facts.isIgnoredByModemManager
                    ? fmt::format("The udev rule applies when the dongle is plugged in. {}", replug)
                    : installRule(facts));
}

Step modemManagerStep(const SystemFacts& facts)
{
  constexpr const char* name = "modem-manager";
  if (isOtherPort(facts)) return skipped(name, noUsbDevice);
  if (!facts.hasModemManager) return ok(name, "ModemManager is not running");
  if (facts.isIgnoredByModemManager) return ok(name, "ModemManager is running, but ignores the dongle");
  return warning(name,
                 "ModemManager is running, and may hold the dongle's port for a while after it is plugged in",
                 installRule(facts));
}

}  // namespace

std::vector<Step> hardwareSteps(const SystemFacts& facts)
{
  return {portsVariableStep(facts), usbStep(facts),    driverStep(facts),      portStep(facts),
          rightsStep(facts),        holderStep(facts), modemManagerStep(facts)};
}
