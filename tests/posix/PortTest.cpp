// Properties of POSIX terminal ports beyond the conformance of the serial layer.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "platform/posix/PortList.h"
#include "serial/SerialPort.h"
#include "tests/support/SerialPeer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

TEST(PosixPort, BytesReceivedBeforeTheDeviceWentAwayAreReturned)
{
  SerialPeer peer;
  platform::PortHandle port = platform::closedPort;
  ASSERT_EQ(serialOpen("COM7", port), OpenResult::done);
  peer.send({1, 2, 3, 4, 5});
  std::vector<std::uint8_t> bytes(2);
  ASSERT_EQ(serialRead(port, nullptr, bytes, 2000), ReadResult::filled);
  peer.unplug();
  std::vector<std::uint8_t> rest(10);
  const platform::PortResult last = platform::readPort(port, rest);
  EXPECT_TRUE(last.ok());
  EXPECT_EQ(last.count, 3U);
  EXPECT_EQ(rest, (std::vector<std::uint8_t>{3, 4, 5, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(platform::readPort(port, rest).ok());
  serialClose(port);
}

TEST(PosixPort, PurgingDiscardsWhatTheSystemHolds)
{
  SerialPeer peer;
  platform::PortHandle port = platform::closedPort;
  ASSERT_EQ(serialOpen("COM7", port), OpenResult::done);
  const auto ports = platform::posix::portList();
  ASSERT_TRUE(ports && ports->size() == 1);
  const int watcher = ::open(ports->front().path.c_str(), O_RDWR | O_NOCTTY);
  peer.send({1, 2, 3});
  pollfd arrived{.fd = watcher, .events = POLLIN, .revents = 0};
  ASSERT_EQ(::poll(&arrived, 1, 5000), 1);
  EXPECT_TRUE(platform::purgeReceived(port).ok());
  EXPECT_EQ(::poll(&arrived, 1, 0), 0);
  ::close(watcher);
  serialClose(port);
}

TEST(PosixPort, OnlyTerminalsInTheListOpen)
{
  {
    const SerialPeer peer;
    for (const char* path : {"COM7", "\\\\.\\COM", "\\\\.\\COM8", "\\\\.\\COM7x", "\\\\.\\LPT7", ""}) {
      EXPECT_EQ(platform::openPort(path), platform::closedPort) << path;
    }
  }
  const TemporaryFolder folder;
  folder.write("file", "text");
  for (const std::string& path :
       {(folder / "file").string(), std::string("/dev/null"), folder.path().string()}) {
    const std::string entry = std::string(platform::dongleName) + " (COM7)=" + path;
    ::setenv("TESSEL_SERIAL_PORTS", entry.c_str(), 1);
    EXPECT_EQ(platform::openPort("\\\\.\\COM7"), platform::closedPort) << path;
  }
}

TEST(PosixPort, DoesNotBecomeTheControllingTerminal)
{
  const SerialPeer peer;
  const pid_t child = ::fork();
  if (child == 0) {
    ::setsid();
    platform::PortHandle port = platform::closedPort;
    const bool opened = serialOpen("COM7", port) == OpenResult::done;
    ::_exit(opened && ::open("/dev/tty", O_RDWR) < 0 ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST(PosixPort, OperationsOnAClosedHandleFailAsInvalid)
{
  std::vector<std::uint8_t> bytes(1);
  platform::PortTimeouts timeouts;
  for (const platform::PortResult& result :
       {platform::readPort(1234, bytes), platform::writePort(1234, bytes), platform::purgeReceived(1234),
        platform::getTimeouts(1234, timeouts), platform::setTimeouts(1234, timeouts)}) {
    EXPECT_FALSE(result.ok());
    EXPECT_EQ(result.error, platform::invalidHandle);
  }
  platform::closePort(1234);
}

}  // namespace
