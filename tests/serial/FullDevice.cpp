// A device that takes nothing, which only real platforms have: over a pseudo terminal, and on the Windows
// calls.

#include <gtest/gtest.h>

#include <cerrno>

#include "serial/SerialPort.h"
#include "tests/support/SerialPeer.h"

namespace {

#ifdef _WIN32
constexpr std::uint32_t timedOut = 1460;  // ERROR_TIMEOUT: the system itself calls such a write a success
#else
constexpr std::uint32_t timedOut = ETIMEDOUT;
#endif

TEST(FullDevice, EndsAWriteInTimeAndAWriteOfNothingAtAllFails)
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
