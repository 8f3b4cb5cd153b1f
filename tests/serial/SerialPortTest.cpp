// The serial layer on a platform with faults that no real one produces on demand.

#include <gtest/gtest.h>

#include "serial/SerialPort.h"
#include "tests/support/SimulatedPlatform.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using platform::PortTimeouts;

constexpr const char* dongle = "Bluegiga Bluetooth Low Energy (COM7)";

class SerialPort : public testing::Test {
 protected:
  void open() { ASSERT_EQ(serialOpen("COM7", handle_), OpenResult::done); }

  void receive(const Bytes& bytes) { port_.waiting.insert(port_.waiting.end(), bytes.begin(), bytes.end()); }

  SimulatedPlatform platform_;
  SimulatedPlatform::Port& port_ = platform_.addPort(dongle);
  platform::PortHandle handle_ = platform::closedPort;
  StopFlag stop_{0};
};

TEST(FindPort, MatchesFriendlyTextsAsScanfWould)
{
  const std::pair<std::string, std::int32_t> cases[] = {
      {"Radio (COM12)", 12}, {"Radio (COM0)", 0},   {"Radio (COM5 and more", 5},    {"Radio\t  (COM5)", 5},
      {"Radio(COM5)", 5},    {"Radio (COM +5)", 5}, {"My Radio (COM5)", -1},        {"Radio 2 (COM5)", -1},
      {"Radio (com5)", -1},  {"Radio (COM)", -1},   {"Radio (COM99999999999)", -1}, {"Radio (CO", -1},
  };
  for (const auto& [text, number] : cases) {
    SimulatedPlatform platform;
    platform.addPort(text);
    EXPECT_EQ(serialFindPort("Radio"), number) << text;
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

TEST(FindPort, ANameIsNoFormatAndMustLeaveSpaceForTheNumber)
{
  SimulatedPlatform platform;
  const std::string fits = "100%d%n" + std::string(245, 'x');
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

TEST_F(SerialPort, OpeningClosesAnOpenPortThenPurgesAndSetsTheTimeouts)
{
  open();
  receive({1, 2, 3});
  open();
  EXPECT_EQ(port_.closes, 1);
  EXPECT_EQ(platform_.openedPath, "\\\\.\\COM7");
  EXPECT_TRUE(port_.waiting.empty());
  EXPECT_EQ(port_.timeouts, (PortTimeouts{0xFFFFFFFF, 0, 0, 0, 3000}));
}

TEST_F(SerialPort, AFailedOpenReportsItsStepAndLeavesThePortClosed)
{
  for (const auto& [error, result] : {std::pair(&SimulatedPlatform::Port::setTimeoutsError, -2),
                                      std::pair(&SimulatedPlatform::Port::purgeError, -3)}) {
    port_.*error = 5;
    EXPECT_EQ(static_cast<std::int32_t>(serialOpen("COM7", handle_)), result);
    EXPECT_EQ(handle_, platform::closedPort);
    EXPECT_TRUE(platform_.open.empty());
    port_.*error = std::nullopt;
  }
  EXPECT_EQ(serialOpen("COM12345678901234567890", handle_), OpenResult::failed);
  EXPECT_EQ(handle_, platform::closedPort);
  EXPECT_EQ(platform_.openedPath, "\\\\.\\COM12345678901") << "a long name is cut";
}

TEST_F(SerialPort, AReadOfNothingStillSetsTheTimeoutsAndLeavesThePortAlone)
{
  open();
  port_.timeouts = {1, 2, 3, 4, 5};
  EXPECT_EQ(serialRead(handle_, &stop_, {}, 250), ReadResult::nothing);
  EXPECT_EQ(port_.timeouts, (PortTimeouts{0xFFFFFFFF, 0, 250, 4, 5})) << "the write timeouts stay";
  EXPECT_EQ(port_.reads, 0);
}

TEST_F(SerialPort, ASplitReadContinuesAfterTheBytesStillMissing)
{
  // Ten bytes that arrive as 3, 3, 3 and 1: the second piece is stored at 7, the rest falls beyond the
  // buffer.
  open();
  receive({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  port_.maxPerRead = 3;
  Bytes guarded(14, 0xEE);
  EXPECT_EQ(serialRead(handle_, &stop_, std::span(guarded).subspan(2, 10), 100), ReadResult::filled);
  EXPECT_EQ(guarded, Bytes({0xEE, 0xEE, 1, 2, 3, 0xEE, 0xEE, 0xEE, 0xEE, 4, 5, 6, 0xEE, 0xEE}));
  EXPECT_EQ(port_.waiting, (std::deque<std::uint8_t>{11})) << "exactly ten bytes were taken from the port";
}

TEST_F(SerialPort, ASplitWriteContinuesAfterTheBytesStillMissingAndSendsZerosBeyondTheEnd)
{
  open();
  port_.maxPerWrite = 3;
  EXPECT_EQ(serialWrite(handle_, stop_, Bytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 10})), WriteResult::done);
  EXPECT_EQ(port_.written, Bytes({1, 2, 3, 8, 9, 10, 0, 0, 0, 0}));
}

TEST_F(SerialPort, AFailedReadIsAFailureUnlessTheSystemNamesNoError)
{
  open();
  receive({1});
  Bytes bytes(1);
  port_.setTimeoutsError = 5;
  EXPECT_EQ(serialRead(handle_, &stop_, bytes, 100), ReadResult::filled) << "a read needs no new timeouts";
  port_.readError = 31;
  EXPECT_EQ(serialRead(handle_, &stop_, bytes, 100), ReadResult::failed);
  port_.readError = 0;
  EXPECT_EQ(serialRead(handle_, &stop_, bytes, 100), ReadResult::nothing);
  port_.getTimeoutsError = 31;
  EXPECT_EQ(serialRead(handle_, &stop_, bytes, 100), ReadResult::failed) << "but not without the old ones";
  EXPECT_TRUE(serialIsAlive(handle_)) << "only a handle that the system does not know is dead";
}

TEST_F(SerialPort, AFailedWriteReturnsTheSystemsErrorAndAnEmptyOneIgnoresTheFlag)
{
  open();
  port_.writeError = 1117;
  EXPECT_EQ(static_cast<std::int32_t>(serialWrite(handle_, stop_, Bytes{1})), 1117);
  stop_ = 1;
  EXPECT_EQ(serialWrite(handle_, stop_, {}), WriteResult::done);
}

}  // namespace
