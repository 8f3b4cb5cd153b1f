// The serial layer against a platform that misbehaves in ways that no real one can be asked for.

#include <gtest/gtest.h>

#include "serial/SerialPort.h"
#include "tests/support/SimulatedPlatform.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using platform::PortTimeouts;

constexpr const char* dongle = "Bluegiga Bluetooth Low Energy (COM7)";

class SerialPort : public testing::Test {
 protected:
  void open() { ASSERT_EQ(serialOpen("COM7", handle_), serial::done); }

  void receive(const Bytes& bytes) { port_.waiting.insert(port_.waiting.end(), bytes.begin(), bytes.end()); }

  SimulatedPlatform platform_;
  SimulatedPlatform::Port& port_ = platform_.addPort(dongle);
  platform::PortHandle handle_ = platform::closedPort;
  StopFlag stop_{0};
};

TEST(FindPort, MatchesFriendlyTextsAsScanfWould)
{
  struct Case {
    const char* name;
    const char* text;
    std::int32_t number;
  };
  const Case cases[] = {
      {"the text of the driver", "Radio (COM12)", 12},
      {"number zero", "Radio (COM0)", 0},
      {"what follows the digits is not looked at", "Radio (COM5 and more", 5},
      {"runs of white space", "Radio\t  (COM5)", 5},
      {"no white space at all", "Radio(COM5)", 5},
      {"blanks and a sign before the digits", "Radio (COM +5)", 5},
      {"something before the name", "My Radio (COM5)", -1},
      {"something between", "Radio 2 (COM5)", -1},
      {"other case", "Radio (com5)", -1},
      {"no digits", "Radio (COM)", -1},
      {"text ends early", "Radio (CO", -1},
      {"a number that does not fit", "Radio (COM99999999999)", -1},
      {"no text", "", -1},
  };
  for (const Case& c : cases) {
    SimulatedPlatform platform;
    platform.addPort(c.text);
    EXPECT_EQ(serialFindPort("Radio"), c.number) << c.name;
  }
}

TEST(FindPort, TakesTheFirstPresentPortThatMatches)
{
  SimulatedPlatform platform;
  platform.addPort("Modem (COM1)");
  auto& first = platform.addPort("Radio (COM3)");
  platform.addPort("Radio (COM2)");
  EXPECT_EQ(serialFindPort("Radio"), 3);
  first.present = false;
  EXPECT_EQ(serialFindPort("Radio"), 2);
  platform.hasDeviceList = false;
  EXPECT_EQ(serialFindPort("Radio"), -1);
}

TEST(FindPort, ANameIsTextEvenIfItLooksLikeAFormat)
{
  SimulatedPlatform platform;
  platform.addPort("100%d%n (COM4)");
  EXPECT_EQ(serialFindPort("100%d%n"), 4);
}

TEST(FindPort, ANameThatLeavesNoRoomForTheNumberMatchesNothing)
{
  SimulatedPlatform platform;
  const std::string fits(252, 'x');
  platform.addPort(fits + " (COM4)");
  platform.addPort(fits + "x (COM4)");
  EXPECT_EQ(serialFindPort(fits), 4);
  EXPECT_EQ(serialFindPort(fits + "x"), -1);
}

TEST(ListPorts, PrintsEveryDongle)
{
  SimulatedPlatform platform;
  platform.addPort(dongle);
  platform.addPort("Modem (COM1)");
  platform.addPort("Bluegiga Bluetooth Low Energy (COM11)");
  testing::internal::CaptureStdout();
  serialListPorts();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Bluegiga Bluetooth Low Energy (COM7)\nBluegiga Bluetooth Low Energy (COM11)\n");
}

TEST_F(SerialPort, OpeningPurgesAndSetsTheTimeouts)
{
  receive({1, 2, 3});
  open();
  EXPECT_EQ(platform_.openedPath, "\\\\.\\COM7");
  EXPECT_TRUE(port_.waiting.empty());
  EXPECT_EQ(port_.timeouts, (PortTimeouts{0xFFFFFFFF, 0, 0, 0, 3000}));
}

TEST_F(SerialPort, AFailedOpeningSaysWhichStepFailedAndLeavesThePortClosed)
{
  struct Case {
    std::optional<std::uint32_t> SimulatedPlatform::Port::*error;
    std::int32_t result;
  };
  const Case cases[] = {{&SimulatedPlatform::Port::setTimeoutsError, -2},
                        {&SimulatedPlatform::Port::purgeError, -3}};
  for (const Case& c : cases) {
    port_.*c.error = 5;
    EXPECT_EQ(serialOpen("COM7", handle_), c.result);
    EXPECT_EQ(handle_, platform::closedPort);
    EXPECT_TRUE(platform_.open.empty());
    port_.*c.error = std::nullopt;
  }
  EXPECT_EQ(serialOpen("COM8", handle_), -1);
  EXPECT_EQ(handle_, platform::closedPort);
}

TEST_F(SerialPort, OpeningAnOpenPortClosesItFirst)
{
  open();
  open();
  EXPECT_EQ(port_.opens, 2);
  EXPECT_EQ(port_.closes, 1);
}

TEST_F(SerialPort, ALongPortNameIsCut)
{
  EXPECT_EQ(serialOpen("COM12345678901234567890", handle_), serial::failed);
  EXPECT_EQ(platform_.openedPath, "\\\\.\\COM12345678901");
}

TEST_F(SerialPort, AReadOfNothingStillSetsTheTimeoutsAndLeavesThePortAlone)
{
  open();
  port_.timeouts = {1, 2, 3, 4, 5};
  EXPECT_EQ(serialRead(handle_, &stop_, {}, 250), 0);
  EXPECT_EQ(port_.timeouts, (PortTimeouts{0xFFFFFFFF, 0, 250, 4, 5})) << "a write's time-outs stay";
  EXPECT_EQ(port_.reads, 0);
}

TEST_F(SerialPort, ASplitReadGoesOnBehindTheBytesStillWanted)
{
  // Ten bytes that come as 3, 3, 3 and 1: the second piece lands at 7, the rest falls behind the buffer.
  open();
  receive({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  port_.mostPerRead = 3;
  Bytes guarded(14, 0xEE);
  EXPECT_EQ(serialRead(handle_, &stop_, std::span(guarded).subspan(2, 10), 100), 10);
  EXPECT_EQ(guarded, Bytes({0xEE, 0xEE, 1, 2, 3, 0xEE, 0xEE, 0xEE, 0xEE, 4, 5, 6, 0xEE, 0xEE}));
  EXPECT_EQ(port_.waiting, (std::deque<std::uint8_t>{11})) << "exactly ten bytes were taken from the port";
}

TEST_F(SerialPort, ASplitWriteGoesOnBehindTheBytesStillToGoAndSendsZeroesBeyondTheEnd)
{
  open();
  port_.mostPerWrite = 3;
  EXPECT_EQ(serialWrite(handle_, stop_, Bytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 10})), serial::done);
  EXPECT_EQ(port_.written, Bytes({1, 2, 3, 8, 9, 10, 0, 0, 0, 0}));
}

TEST_F(SerialPort, AFailedReadIsAFailureUnlessTheSystemNamesNoError)
{
  open();
  Bytes bytes(4);
  port_.readError = 31;
  EXPECT_EQ(serialRead(handle_, &stop_, bytes, 100), -1);
  port_.readError = 0;
  EXPECT_EQ(serialRead(handle_, &stop_, bytes, 100), 0);
}

TEST_F(SerialPort, AReadNeedsTheOldTimeoutsButNotTheNewOnes)
{
  open();
  receive({1});
  Bytes bytes(1);
  port_.setTimeoutsError = 5;
  EXPECT_EQ(serialRead(handle_, &stop_, bytes, 100), 1);
  port_.getTimeoutsError = 5;
  EXPECT_EQ(serialRead(handle_, &stop_, bytes, 100), -1);
}

TEST_F(SerialPort, AFailedWriteGivesTheSystemsErrorAndAnEmptyOneIgnoresTheFlag)
{
  open();
  port_.writeError = 1117;
  EXPECT_EQ(serialWrite(handle_, stop_, Bytes{1}), 1117);
  stop_ = 1;
  EXPECT_EQ(serialWrite(handle_, stop_, {}), serial::done);
}

TEST_F(SerialPort, OnlyAnUnknownHandleIsDead)
{
  open();
  port_.getTimeoutsError = 31;
  EXPECT_TRUE(serialIsAlive(handle_));
  port_.getTimeoutsError = platform::invalidHandle;
  EXPECT_FALSE(serialIsAlive(handle_));
}

}  // namespace
