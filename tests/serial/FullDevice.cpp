// A device that accepts nothing, which only real platforms have: a pseudo terminal, and the Windows
// functions.

#include <gtest/gtest.h>

#include <cerrno>

#include "serial/SerialPort.h"
#include "tests/support/SerialPeer.h"

namespace {

#ifdef _WIN32
constexpr std::uint32_t timedOut = 1460;  // ERROR_TIMEOUT, which Windows itself does not report here
#else
constexpr std::uint32_t timedOut = ETIMEDOUT;
#endif

TEST(FullDevice, AWriteEndsInTimeAndFailsIfNothingWasWritten)
{
  const SerialPeer peer;
  const platform::PortHandle port = platform::openPort("\\\\.\\COM7");
  ASSERT_NE(port, platform::closedPort);
  platform::setTimeouts(port, {.writeTotalConstant = 50});
  const std::vector<std::uint8_t> bytes(1'000'000);
  const platform::PortResult part = platform::writePort(port, bytes);
  EXPECT_TRUE(part.ok());
  EXPECT_GT(part.count, 0U);
  EXPECT_LT(part.count, bytes.size());
  const platform::PortResult nothing = platform::writePort(port, bytes);
  EXPECT_FALSE(nothing.ok());
  EXPECT_EQ(nothing.error, timedOut);
  platform::closePort(port);
}

}  // namespace
