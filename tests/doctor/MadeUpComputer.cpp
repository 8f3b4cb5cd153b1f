#include "tests/doctor/MadeUpComputer.h"

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

const std::string usb = "sys/bus/usb/devices/";

}  // namespace

MadeUpComputer::MadeUpComputer()
{
  write("etc/os-release", "ID=debian\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n");
  write("proc/sys/kernel/osrelease", "6.1.0-18-amd64\n");
  write("lib/modules/6.1.0-18-amd64/modules.dep", "");
  write("proc/loadavg", "0.01 0.58 0.59 1/467 812\n");
  write("proc/meminfo", "MemTotal:       16303428 kB\nMemAvailable:   12345678 kB\n");
  write("sys/devices/system/cpu/cpu0/cpufreq/scaling_governor", "schedutil\n");
  write("sys/devices/system/cpu/cpu0/cpufreq/scaling_driver", "acpi-cpufreq\n");
  write("etc/passwd", "root:x:0:0:root:/root:/bin/bash\nalice:x:" + std::to_string(user()) +
                          ":1000:Alice Example:/home/alice:/bin/bash\n");
  write("etc/group", "dialout:x:" + std::to_string(portGroup()) + ":alice\n");
  setIdentity(user(), std::to_string(portGroup()));
  addUsb("1-2", "2458", "0001", "Low Energy Dongle");
  addTty("1-2", "ttyACM0");
  addProcess("412", "bash", "/dev/null");
}

void MadeUpComputer::write(const std::string& name, const std::string& content)
{
  remove(name);
  fs::create_directories((folder_ / name).parent_path());
  folder_.write(name, content);
}

void MadeUpComputer::link(const std::string& name, const std::string& target)
{
  remove(name);
  fs::create_directories((folder_ / name).parent_path());
  fs::create_symlink(target, folder_ / name);
}

void MadeUpComputer::remove(const std::string& name)
{
  fs::remove_all(folder_ / name);
}

void MadeUpComputer::permit(const std::string& name, unsigned mode)
{
  fs::permissions(folder_ / name, static_cast<fs::perms>(mode));
}

void MadeUpComputer::addUsb(const std::string& place, const std::string& vendor, const std::string& product,
                            const std::string& text)
{
  write(usb + place + "/idVendor", vendor + "\n");
  write(usb + place + "/idProduct", product + "\n");
  write(usb + place + "/product", text + "\n");
  write(usb + place + "/speed", "12\n");
  write(usb + place + "/authorized", "1\n");
  write(usb + place + "/power/control", "on\n");
  write(usb + place + "/power/autosuspend_delay_ms", "2000\n");
}

void MadeUpComputer::addTty(const std::string& place, const std::string& tty)
{
  const std::string interface = usb + place + "/" + place + ":1.0";
  link(interface + "/driver", "../../../drivers/cdc_acm");
  link(interface + "/tty/" + tty + "/device", "../..");
  link("sys/class/tty/" + tty, "../../../" + interface + "/tty/" + tty);
  write("dev/" + tty, "");
  permit("dev/" + tty, 0660);
}

void MadeUpComputer::setIdentity(unsigned user, const std::string& groups)
{
  const std::string id = std::to_string(user);
  write("proc/self/status", "Name:\ttessel\nUid:\t" + id + "\t" + id + "\t" + id + "\t" + id +
                                "\nGid:\t4711\t4711\t4711\t4711\nGroups:\t" + groups + " \n");
}

void MadeUpComputer::addProcess(const std::string& id, const std::string& name, const std::string& openFile)
{
  write("proc/" + id + "/comm", name + "\n");
  if (!openFile.empty()) link("proc/" + id + "/fd/5", openFile);
}

unsigned MadeUpComputer::user() const
{
  return ::getuid() + 1000;
}

unsigned MadeUpComputer::portGroup() const
{
  return ::getgid();
}
