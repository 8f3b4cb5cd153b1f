#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "host/doctor/ComputerSteps.h"
#include "tests/doctor/MadeUpComputer.h"

namespace {

using Result = Step::Result;

const std::string dongle = "Bluegiga Bluetooth Low Energy (COM0)=";
const std::string rule = "share/udev/60-tessel.rules' /etc/udev/rules.d/\nsudo udevadm control --reload";
const std::string ownRule =
    "# 2458\nSUBSYSTEM==\"tty\", ATTRS{idVendor}==\"2458\", ENV{ID_MM_PORT_IGNORE}=\"1\", MODE=\"0660\"\n";

void dropDriver(MadeUpComputer& computer)
{
  computer.remove("sys/class/tty/ttyACM0");
  computer.remove("sys/bus/usb/devices/1-2/1-2:1.0");
  computer.remove("dev/ttyACM0");
}

// As flock() shows up.
void lock(MadeUpComputer& computer, const std::string& device)
{
  struct stat status {};
  ASSERT_EQ(::stat((computer.root() / device).c_str(), &status), 0);
  std::array<char, 100> line{};
  std::snprintf(line.data(), line.size(), "1: FLOCK  ADVISORY  WRITE 777 %02x:%02x:%llu 0 EOF\n",
                major(status.st_dev), minor(status.st_dev), static_cast<unsigned long long>(status.st_ino));
  computer.write("proc/locks", line.data());
}

TEST(ComputerSteps, NameTheFaultAndTheFix)
{
  const struct {
    const char* name;
    void (*change)(MadeUpComputer&);
    const char* step;
    Result result;
    ExitCode code;
    std::string text, fix;
    std::optional<std::string> variable = {};
  } rows[] = {
      {"stale variable", [](auto&) {}, "ports-variable", Result::failed, ExitCode::noDongle,
       "none of the paths in it exists. Its value: " + dongle + "/tmp/gone", "unset TESSEL_SERIAL_PORTS",
       dongle + "/tmp/gone"},
      {"variable without a dongle", [](auto&) {}, "ports-variable", Result::failed, ExitCode::noDongle,
       "none of its ports that exist is called", "grep -sn TESSEL_SERIAL_PORTS", "Modem (COM0)=/dev/ttyACM0"},
      {"variable is a bare path", [](auto&) {}, "ports-variable", Result::failed, ExitCode::noDongle,
       "no entry of the form", "unset", "/dev/ttyACM0"},
      {"variable names a simulated port",
       [](auto& c) {
         c.write("tmp/dongle", ""), c.permit("tmp/dongle", 0666),
             c.addProcess("777", "tessel", "/tmp/dongle");
       },
       "usb", Result::skipped, ExitCode::done, "names /tmp/dongle, which is no USB device", "",
       dongle + "/tmp/dongle"},
      {"not plugged in", [](auto& c) { dropDriver(c), c.addUsb("1-2", "046d", "c31c", "Keyboard"); }, "usb",
       Result::failed, ExitCode::noDongle, "there is no USB serial port", "Plug the dongle in"},
      {"another port only",
       [](auto& c) { dropDriver(c), c.addUsb("1-2", "0403", "6001", "UART"), c.addTty("1-2", "ttyUSB0"); },
       "usb", Result::failed, ExitCode::noDongle, "none of the serial ports is a dongle's", "dmesg --follow"},
      {"no USB at all", [](auto& c) { dropDriver(c), c.remove("sys/bus/usb"); }, "usb", Result::failed,
       ExitCode::noDongle, "no USB devices at all", "virtual machine"},
      {"dongle in another mode", [](auto& c) { dropDriver(c), c.addUsb("1-2", "2458", "fffe", "Loader"); },
       "usb", Result::failed, ExitCode::noDongle, "Loader (2458:fffe) is of the dongle's maker", "firmware"},
      {"no driver", [](auto& c) { dropDriver(c); }, "driver", Result::failed, ExitCode::noDongle,
       "no driver has made a serial port", "sudo modprobe cdc_acm"},
      {"modules gone by an update", [](auto& c) { dropDriver(c), c.remove("lib/modules"); }, "driver",
       Result::failed, ExitCode::noDongle, "modules of the running kernel 6.1.0-18-amd64", "sudo reboot"},
      {"blocked", [](auto& c) { dropDriver(c), c.write("sys/bus/usb/devices/1-2/authorized", "0\n"); },
       "driver", Result::failed, ExitCode::noDongle, "blocks the dongle",
       "echo 1 | sudo tee /sys/bus/usb/devices/1-2/authorized"},
      {"taken by a virtual machine",
       [](auto& c) { dropDriver(c), c.link("sys/bus/usb/devices/1-2/1-2:1.0/driver", "../drivers/usbfs"); },
       "driver", Result::failed, ExitCode::noDongle, "the driver usbfs has taken", "virtual machine"},
      {"no node", [](auto& c) { c.remove("dev/ttyACM0"); }, "port", Result::failed, ExitCode::port,
       "/dev/ttyACM0 can't be used: it has disappeared", "docker run --device /dev/ttyACM0"},
      {"neither rule nor group",
       [](auto& c) {
         c.setIdentity(c.user(), "1"),
             c.write("etc/group", "dialout:x:" + std::to_string(c.portGroup()) + ":bob\n");
       },
       "rights", Result::failed, ExitCode::port, "/dev/ttyACM0 can't be used: you have no permission",
       rule + "\nOr join the group dialout, then log out and in again:\nsudo usermod -a -G dialout $USER"},
      {"rights of the owner only", [](auto& c) { c.permit("dev/ttyACM0", 0600); }, "rights", Result::failed,
       ExitCode::port, "you have no permission", rule},
      {"reading only", [](auto& c) { c.permit("dev/ttyACM0", 0640); }, "rights", Result::failed,
       ExitCode::port, "you have no permission", rule},
      {"rule later than the plugging",
       [](auto& c) {
         c.permit("dev/ttyACM0", 0600), c.write("usr/lib/udev/rules.d/60-tessel.rules", ownRule);
       },
       "rights", Result::failed, ExitCode::port, "you have no permission",
       "from when the dongle is plugged in"},
      {"session older than the group", [](auto& c) { c.setIdentity(c.user(), "1"); }, "rights",
       Result::failed, ExitCode::port, "You are in the group dialout, but this session is older",
       "newgrp dialout"},
      {"simulated port of another user",
       [](auto& c) { c.write("tmp/dongle", ""), c.permit("tmp/dongle", 0600); }, "rights", Result::failed,
       ExitCode::port, "/tmp/dongle can't be used", "ls -lL /tmp/dongle", dongle + "/tmp/dongle"},
      {"held by a program", [](auto& c) { c.addProcess("777", "minicom", "/dev/ttyACM0"); }, "holder",
       Result::failed, ExitCode::port, "minicom (process 777) has it open", "kill 777"},
      {"locked by a program", [](auto& c) { c.addProcess("777", "tessel"), lock(c, "dev/ttyACM0"); },
       "holder", Result::failed, ExitCode::port, "tessel (process 777) has it open", "kill 777"},
      {"held by ModemManager", [](auto& c) { c.addProcess("777", "ModemManager", "/dev/ttyACM0"); }, "holder",
       Result::failed, ExitCode::port, "ModemManager (process 777)", rule},
      {"held by ModemManager since before the rule",
       [](auto& c) {
         c.addProcess("777", "ModemManager", "/dev/ttyACM0"), c.write("etc/udev/rules.d/x.rules", ownRule);
       },
       "holder", Result::failed, ExitCode::port, "ModemManager (process 777)", "plug it in again"},
      {"ModemManager is running", [](auto& c) { c.addProcess("777", "ModemManager"); }, "modem-manager",
       Result::warning, ExitCode::done, "may hold the dongle's port", rule},
      {"a rule that is hidden by an empty one",
       [](auto& c) {
         c.addProcess("777", "ModemManager"), c.write("lib/udev/rules.d/x.rules", ownRule),
             c.link("etc/udev/rules.d/x.rules", "/dev/null");
       },
       "modem-manager", Result::warning, ExitCode::done, "may hold", rule},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    MadeUpComputer computer;
    row.change(computer);
    const auto steps = computerSteps(SystemFacts(computer.root(), row.variable), false);
    const auto first = std::ranges::find_if(steps, [&](const Step& step) {
      return step.result != Result::ok && (step.result != Result::skipped || row.result == Result::skipped);
    });
    ASSERT_NE(first, steps.end());
    EXPECT_EQ(first->name, row.step);
    EXPECT_EQ(first->result, row.result);
    EXPECT_EQ(first->code, row.code);
    EXPECT_NE(first->text.find(row.text), std::string::npos) << first->text;
    EXPECT_EQ(first->text.find('\n'), std::string::npos) << first->text;
    EXPECT_NE(first->fix.find(row.fix), std::string::npos) << first->fix;
    EXPECT_EQ(first->fix.empty(), row.result == Result::skipped);
    EXPECT_EQ(std::ranges::count(steps, Result::failed, &Step::result), row.result == Result::failed ? 1 : 0);
  }
}

TEST(ComputerSteps, PassWhereTheDongleCanBeUsed)
{
  const struct {
    const char* name;
    void (*change)(MadeUpComputer&);
    const char* step;
    std::string text;
    std::optional<std::string> variable = {};
  } rows[] = {
      {"by the group", [](auto&) {}, "rights", "you may use /dev/ttyACM0 (mode 660, group dialout)"},
      {"as the owner", [](auto& c) { c.permit("dev/ttyACM0", 0600), c.setIdentity(c.user() - 1000, ""); },
       "rights", "may use"},
      {"as root", [](auto& c) { c.permit("dev/ttyACM0", 0), c.setIdentity(0, ""); }, "rights", "may use"},
      {"as anybody", [](auto& c) { c.permit("dev/ttyACM0", 0666), c.setIdentity(c.user(), ""); }, "rights",
       "may use"},
      {"ignored by ModemManager",
       [](auto& c) { c.addProcess("777", "ModemManager"), c.write("run/udev/rules.d/x.rules", ownRule); },
       "modem-manager", "ignores the dongle"},
      {"two dongles", [](auto& c) { c.addUsb("1-1", "2458", "0001", "Other"), c.addTty("1-1", "ttyACM1"); },
       "usb", "Low Energy Dongle (2458:0001), 12 Mbit/s, at USB port 1-2; the first of 2 dongles"},
      {"named by a link", [](auto& c) { c.link("dev/radio", "ttyACM0"); }, "driver", "cdc_acm made ttyACM0",
       dongle + "/dev/radio"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    MadeUpComputer computer;
    row.change(computer);
    for (const Step& step : computerSteps(SystemFacts(computer.root(), row.variable), false)) {
      EXPECT_EQ(step.result, Result::ok) << step.name << ": " << step.text;
      if (step.name != row.step) continue;
      EXPECT_NE(step.text.find(row.text), std::string::npos) << step.text;
    }
  }
}

TEST(ComputerSteps, LookForNoDongleIfTheGlovesAreSimulated)
{
  MadeUpComputer computer;
  dropDriver(computer);
  const auto steps = computerSteps(SystemFacts(computer.root(), std::nullopt), true);
  ASSERT_EQ(steps.size(), 8U);
  EXPECT_NE(steps[0].text.find("Debian GNU/Linux 12 (bookworm), kernel 6.1.0-18-amd64, "), std::string::npos)
      << steps[0].text;
  for (std::size_t index = 1; index < steps.size(); ++index) {
    EXPECT_EQ(steps[index].result, Result::skipped) << steps[index].name;
  }
}

TEST(LoadStep, WarnsOfWhatCostsFrames)
{
  const std::string frequency = "sys/devices/system/cpu/cpu0/cpufreq/";
  const struct {
    const char* file;
    const char* content;
    const char* text;  // of the warning, if there is one
    const char* fix;
  } rows[] = {
      {"proc/loadavg", "0.42 9 9 1/467 812\n", nullptr, ""},
      {"proc/loadavg", "9999.5 9 9 1/467 812\n", "9999.5 programs compete", "top"},
      {"sys/devices/system/cpu/cpu0/cpufreq/scaling_governor", "powersave\n", "lowest frequency",
       "scaling_governor"},
      {"proc/meminfo", "MemTotal: 16303428 kB\nMemAvailable: 102400 kB\n", "100 MiB of memory", "top"},
      {"sys/bus/usb/devices/1-2/power/control", "auto\n", "autosuspend",
       "echo on | sudo tee /sys/bus/usb/devices/1-2/power/control"},
  };
  MadeUpComputer computer;
  for (const auto& [file, content, text, fix] : rows) {
    computer.write(file, content);
    const Step step = loadStep(SystemFacts(computer.root(), std::nullopt));
    EXPECT_EQ(step.result, text == nullptr ? Result::ok : Result::warning) << file;
    EXPECT_NE(step.text.find(text == nullptr ? "load 0.4, governor schedutil" : text), std::string::npos)
        << step.text;
    EXPECT_NE(step.fix.find(fix), std::string::npos) << step.fix;
  }
  computer.write(frequency + "scaling_driver", "intel_pstate\n");
  computer.write("sys/bus/usb/devices/1-2/power/autosuspend_delay_ms", "-1000\n");
  const Step step = loadStep(SystemFacts(computer.root(), std::nullopt));
  EXPECT_EQ(step.text.find("frequency"), std::string::npos) << step.text;
  EXPECT_EQ(step.text.find("autosuspend"), std::string::npos) << step.text;
}

TEST(SystemFacts, SurviveFilesThatAreNotWhatTheyShouldBe)
{
  MadeUpComputer computer;
  const std::string usb = "sys/bus/usb/devices/1-2/";
  const std::string huge(std::size_t{4} << 20, 'x');
  for (const std::string file : {"etc/group", "proc/412/comm", "proc/locks", "etc/udev/rules.d/a.rules"}) {
    computer.write(file, huge);
  }
  for (const std::string file : {"proc/self/status", "proc/loadavg", "etc/os-release"}) {
    computer.write(file, "\xff:::\n\n-1");
  }
  for (const std::string file : {"proc/meminfo", "etc/passwd"}) {
    computer.remove(file);
    ASSERT_EQ(::mkfifo((computer.root() / file).c_str(), 0600), 0);
  }
  computer.remove("proc/sys/kernel/osrelease");
  computer.write("proc/sys/kernel/osrelease/folder", "");
  computer.write(usb + "1-2:1.0/driver", "no link");
  computer.write(usb + "speed", "fast \x1b[2J" + huge);
  computer.link(usb + "authorized", "authorized");
  computer.write("proc/99999999999999999999/comm", "");
  const SystemFacts facts(computer.root(), std::nullopt);
  EXPECT_EQ(facts.memory.totalKiB, 0U);
  EXPECT_EQ(facts.user.id, User::unknown);
  EXPECT_FALSE(facts.node.isPermitted);
  for (const Step& step : computerSteps(facts, false)) {
    EXPECT_LT(step.text.size(), 500U) << step.name;
  }
  EXPECT_LT(facts.report().size(), 5000U);
  EXPECT_EQ(facts.report().find('\x1b'), std::string::npos);
}

TEST(SystemFacts, ReportNoNamesOfTheUser)
{
  MadeUpComputer computer;
  computer.write("home/alice/alice-dongle", "");
  computer.write("etc/group", "alice:x:" + std::to_string(computer.portGroup()) + ":alice\n");
  const SystemFacts facts(computer.root(), dongle + "/home/alice/alice;alice=/media/alice/x");
  const std::string report = facts.report();
  EXPECT_EQ(report.find("alice"), std::string::npos) << report;
  EXPECT_NE(report.find("TESSEL_SERIAL_PORTS: " + dongle + "~/USER;USER=/media/USER/x\n"), std::string::npos)
      << report;
  EXPECT_NE(report.find("USB device: 1-2 2458:0001 Low Energy Dongle, 12 Mbit/s"), std::string::npos)
      << report;
  EXPECT_EQ(facts.withoutNames("malice /home/alice2 /home/alice/x"), "malice /home/alice2 ~/x");
}

}  // namespace
