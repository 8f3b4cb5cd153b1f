#include "platform/posix/PortList.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/Platform.h"
#include "serial/SerialPort.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using platform::posix::PortEntry;

// The directory layout of the kernel: each tty is a link into the directory of its USB interface.
TEST(PortsFromSysfs, ListsUsbSerialDevicesDonglesFirstByNumber)
{
  const TemporaryFolder folder;
  fs::create_directories(folder / "class/tty/console");
  const auto addUsb = [&](const std::string& device, const char* vendor, const char* id,
                          const char* product) {
    fs::create_directories(folder / device);
    folder.write(device + "/idVendor", vendor);
    folder.write(device + "/idProduct", id);
    folder.write(device + "/product", product);
  };
  const auto addTty = [&](const std::string& name, const std::string& interface) {
    fs::create_directories(folder.path() / interface / "tty" / name);
    fs::create_directory_symlink(folder / interface, folder.path() / interface / "tty" / name / "device");
    fs::create_directory_symlink(folder.path() / interface / "tty" / name, folder / "class/tty" / name);
  };
  addUsb("usb1/1-1", "2458\n", "0001\n", "Low Energy Dongle\n");
  addUsb("usb1/1-2", "0403\n", "6001\n", "FT232R USB UART\n");
  addUsb("usb1/1-3", "2458\n", "0002\n", "Other product of the maker\n");
  addTty("ttyACM10", "usb1/1-1/1-1:1.0");
  addTty("ttyACM2", "usb1/1-1/1-1:1.1");
  addTty("ttyUSB0", "usb1/1-2/1-2:1.0/ttyUSB0");
  addTty("ttyACM0", "usb1/1-3/1-3:1.0");
  addTty("ttyS0", "platform/serial8250");
  EXPECT_EQ(platform::posix::portsFromSysfs(folder / "class/tty"),
            (std::vector<PortEntry>{{"Bluegiga Bluetooth Low Energy (COM2)", "/dev/ttyACM2"},
                                    {"Bluegiga Bluetooth Low Energy (COM10)", "/dev/ttyACM10"},
                                    {"Other product of the maker (COM0)", "/dev/ttyACM0"},
                                    {"FT232R USB UART (COM0)", "/dev/ttyUSB0"}}));
  EXPECT_EQ(platform::posix::portsFromSysfs(folder / "nothing"), std::nullopt);
}

TEST(PortsFromText, ListsTheEntriesWhosePathExists)
{
  const TemporaryFolder folder;
  folder.write("a", "");
  folder.write("b=c", "");
  fs::create_symlink(folder / "gone", folder / "dangling");
  const std::string a = (folder / "a").string();
  const std::string b = (folder / "b=c").string();
  const std::string text = "Radio (COM7)=" + a + ";nonsense;;Two (COM8)=" + b +
                           ";Three (COM9)=" + (folder / "dangling").string() + ";Four=" + a + ";=";
  EXPECT_EQ(platform::posix::portsFromText(text),
            (std::vector<PortEntry>{{"Radio (COM7)", a}, {"Two (COM8)", b}, {"Four", a}}));
  EXPECT_TRUE(platform::posix::portsFromText("").empty());
}

TEST(PortsFromText, TheVariableReplacesTheSystemsListEvenWhenEmpty)
{
  ::setenv("TESSEL_SERIAL_PORTS", "", 1);
  EXPECT_EQ(platform::presentPorts(), std::vector<std::string>());
  ::setenv("TESSEL_SERIAL_PORTS", "Anything (COM1)=/dev/null", 1);
  EXPECT_EQ(platform::presentPorts(), std::vector<std::string>{"Anything (COM1)"});
}

TEST(DonglePath, IsTheEntryThatASearchForTheDongleFinds)
{
  const std::string name = platform::dongleName;
  const struct {
    std::string variable;
    const char* path;  // of the port found and opened
  } cases[] = {
      {name + " (COM7)=/dev/tty", "/dev/tty"},
      {name + " (COM7) =/dev/tty", "/dev/tty"},
      {name + "(COM7 and more=/dev/tty", "/dev/tty"},
      {"Modem (COM7)=/dev/null;" + name + " (COM7)=/dev/tty", "/dev/tty"},
      {name + " (COM7)=/nowhere;" + name + " (COM7)=/dev/tty", "/dev/tty"},
      {name + " (COM7)=/dev/tty;" + name + " (COM7)=/dev/null", "/dev/tty"},
      {"Old " + name + " (COM7)=/dev/null;" + name + " (COM7)=/dev/tty", "/dev/tty"},
  };
  for (const auto& [variable, path] : cases) {
    ::setenv("TESSEL_SERIAL_PORTS", variable.c_str(), 1);
    EXPECT_EQ(serialFindPort(name), 7) << variable;
    EXPECT_EQ(platform::posix::donglePath(7), path) << variable;
    EXPECT_EQ(platform::posix::donglePath(8), std::nullopt) << variable;
  }
}

}  // namespace
