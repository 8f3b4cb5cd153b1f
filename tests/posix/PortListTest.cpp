#include "platform/posix/PortList.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/Platform.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using platform::posix::PortEntry;

// A tree laid out as the kernel does it: each tty is a link into the directory of its USB interface.
class Sysfs : public testing::Test {
 protected:
  Sysfs() { fs::create_directories(folder_ / "class/tty"); }

  void addUsbDevice(const std::string& device, const std::string& vendor, const std::string& product,
                    const std::string& name)
  {
    fs::create_directories(folder_ / ("devices/usb1/" + device));
    folder_.write("devices/usb1/" + device + "/idVendor", vendor + "\n");
    folder_.write("devices/usb1/" + device + "/idProduct", product + "\n");
    folder_.write("devices/usb1/" + device + "/product", name + "\n");
  }

  // `interface` is what the tty's device link points to, below the device list.
  void addTty(const std::string& name, const std::string& interface)
  {
    const fs::path target = folder_ / ("devices/" + interface);
    fs::create_directories(target / "tty" / name);
    fs::create_directory_symlink(target, target / "tty" / name / "device");
    fs::create_directory_symlink(target / "tty" / name, folder_ / ("class/tty/" + name));
  }

  std::vector<PortEntry> ports()
  {
    return platform::posix::portsFromSysfs(folder_ / "class/tty", "/dev").value();
  }

  TemporaryFolder folder_;
};

TEST_F(Sysfs, ListsUsbSerialDevicesDonglesFirstByNumber)
{
  addUsbDevice("1-1", "2458", "0001", "Low Energy Dongle");
  addUsbDevice("1-2", "0403", "6001", "FT232R USB UART");
  addUsbDevice("1-3", "2458", "0002", "Other product of the maker");
  addTty("ttyACM10", "usb1/1-1/1-1:1.0");
  addTty("ttyACM2", "usb1/1-1/1-1:1.1");
  addTty("ttyUSB0", "usb1/1-2/1-2:1.0/ttyUSB0");
  addTty("ttyACM0", "usb1/1-3/1-3:1.0");
  addTty("ttyS0", "platform/serial8250");
  fs::create_directories(folder_ / "class/tty/console");
  EXPECT_EQ(ports(), (std::vector<PortEntry>{
                         {"Bluegiga Bluetooth Low Energy (COM2)", "/dev/ttyACM2"},
                         {"Bluegiga Bluetooth Low Energy (COM10)", "/dev/ttyACM10"},
                         {"Other product of the maker (COM0)", "/dev/ttyACM0"},
                         {"FT232R USB UART (COM0)", "/dev/ttyUSB0"},
                     }));
}

TEST_F(Sysfs, ADeviceWithoutTextsStillCounts)
{
  addUsbDevice("1-1", "1234", "5678", "x");
  fs::remove(folder_ / "devices/usb1/1-1/product");
  addTty("ttyUSB3", "usb1/1-1/1-1:1.0");
  EXPECT_EQ(ports(), (std::vector<PortEntry>{{" (COM3)", "/dev/ttyUSB3"}}));
}

TEST_F(Sysfs, WithoutADirectoryThereIsNoList)
{
  EXPECT_EQ(platform::posix::portsFromSysfs(folder_ / "nothing", "/dev"), std::nullopt);
}

TEST(PortsFromText, ListsTheEntriesWhosePathIsThere)
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

TEST(ComNumber, IsWhatStandsInTheLastBrackets)
{
  const std::pair<const char*, std::optional<int>> cases[] = {
      {"Radio (COM7)", 7},           {"(COM1) (COM2)", 2}, {"Radio (COM)", std::nullopt},
      {"Radio (COM7", std::nullopt}, {"", std::nullopt},   {"Radio (COM7x)", std::nullopt},
      {"COM7", std::nullopt},        {")", std::nullopt},  {"Radio (COM99999999999)", std::nullopt},
  };
  for (const auto& [text, number] : cases) {
    EXPECT_EQ(platform::posix::comNumber(text), number) << text;
  }
}

}  // namespace
