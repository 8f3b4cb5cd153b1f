#include "host/gloves/Ports.h"

#include <gtest/gtest.h>

namespace {

TEST(Ports, AdviceFitsTheKindOfPortAndItsHolder)
{
  const struct {
    PortState state;
    bool isUsbDevice;
    const char* detail;
    const char* says;
    const char* doesNotSay;
  } cases[] = {
      {PortState::free, true, "", "", "."},
      {PortState::inUse, true, "ModemManager (process 812)", "udev", "End that"},
      {PortState::inUse, true, "tessel (process 812)", "End that program", "ModemManager"},
      {PortState::inUse, false, "", "End that program", "ModemManager"},
      {PortState::noRights, true, "", "dialout", "TESSEL_SERIAL_PORTS"},
      {PortState::noRights, false, "", "ls -lL /dev/x", "dialout"},
      {PortState::notSerial, false, "", "unset TESSEL_SERIAL_PORTS", "udev"},
      {PortState::gone, true, "", "plug it in again", "TESSEL_SERIAL_PORTS"},
      {PortState::failing, false, "", "TESSEL_SERIAL_PORTS", "plug it in"},
  };
  for (const auto& [state, isUsbDevice, detail, says, doesNotSay] : cases) {
    Port port;
    port.path = "/dev/x";
    port.isUsbDevice = isUsbDevice;
    port.state = state;
    port.detail = detail;
    const std::string advice = adviceFor(port);
    EXPECT_NE(advice.find(says), std::string::npos) << advice;
    EXPECT_EQ(advice.find(doesNotSay), std::string::npos) << advice;
  }
}

TEST(Ports, WithoutADongleTheErrorNamesAVariableThatMayHideIt)
{
  const std::vector<Port> none;
  const std::vector<Port> other(1);
  std::vector<Port> away(1);
  away[0].isDongle = true;
  const std::string stale = "Bluegiga Bluetooth Low Energy (COM7)=/tmp/old";
  const struct {
    const std::vector<Port>& ports;
    std::optional<std::string> variable;
    std::string says, advice;
  } cases[] = {
      {none, {}, "there is no USB serial port", "Plug the dongle in"},
      {other, {}, "none of the serial ports is a dongle's", "Plug the dongle in"},
      {none, stale, "none of the paths in it exists. Its value: " + stale, "unset TESSEL_SERIAL_PORTS"},
      {none, "", "TESSEL_SERIAL_PORTS is set", "unset TESSEL_SERIAL_PORTS"},
      {none, "/dev/ttyACM0", "(COMn)=PATH\". Its value: /dev/ttyACM0", "unset TESSEL_SERIAL_PORTS"},
      {other, "Modem (COM1)=/dev/x", "is called \"Bluegiga", "unset TESSEL_SERIAL_PORTS"},
      {away, stale, "is not present", "unset TESSEL_SERIAL_PORTS"},
  };
  for (const auto& [ports, variable, says, advice] : cases) {
    const Failure failure = noDongle(ports, variable);
    EXPECT_EQ(failure.code(), ExitCode::noDongle);
    EXPECT_NE(std::string(failure.what()).find(says), std::string::npos) << failure.what();
    EXPECT_NE(failure.advice().find(advice), std::string::npos) << failure.advice();
    EXPECT_EQ(failure.advice().find("Plug") != std::string::npos, !variable) << failure.advice();
  }
}

}  // namespace
