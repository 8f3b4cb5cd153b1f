// Each system call of the POSIX platform fails once, with each error that it can have, or moves only half of
// its bytes: the call is repeated, or the operation fails; nothing stays open, and the port can be opened
// again.

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>

#include "platform/posix/PortList.h"
#include "serial/Capture.h"
#include "serial/SerialPort.h"
#include "tests/support/FailingCall.h"
#include "tests/support/SerialPeer.h"
#include "tests/support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

const std::vector<CallErrors> errorsOf{
    {"open", {EINTR, EMFILE, ENOMEM, EIO}},
    {"read", {EINTR, EAGAIN, shortCount, EIO}},
    {"write", {EINTR, EAGAIN, shortCount, EIO, ENOSPC}},
    {"poll", {EINTR, ENOMEM}},
    {"ioctl", {EINTR, EIO}},
    {"flock", {EINTR, ENOMEM}},
    {"stat", {EIO, ENOMEM}},
    {"close", {EINTR, EIO}},
};

// What is repeated does not show.
bool isRepeated(const std::string& call, int error)
{
  return error == EINTR || error == shortCount || error == EAGAIN || call == "poll" || call == "close";
}

// What a session has done, and what of it the far end and the capture saw.
struct Session {
  std::vector<std::string> ports;
  std::vector<int> results;
  std::vector<std::uint8_t> read;
  std::size_t captured = 0;
};

std::size_t openDescriptors()
{
  const fs::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

class PosixFailingCalls : public testing::Test {
 protected:
  PosixFailingCalls() { ::setenv("TESSEL_CAPTURE", (folder_ / "capture").c_str(), 1); }
  ~PosixFailingCalls() override { ::unsetenv("TESSEL_CAPTURE"); }

  // Neither the capture, the port nor the far end is left.
  Session run(const CallFault& fault, WatchedRun& watched)
  {
    Session session;
    fs::remove(folder_ / "capture");
    SerialPeer peer;
    const std::size_t before = openDescriptors();
    platform::PortHandle port = platform::closedPort;
    const StopFlag goesOn{};
    const std::vector<std::uint8_t> sent{1, 2, 3, 4, 5, 6};
    std::vector<std::uint8_t> received(sent.size());
    const auto open = [&] {
      session.ports = platform::presentPorts().value_or(std::vector<std::string>());
      session.results.push_back(static_cast<int>(serialOpen("COM7", port)));
    };
    const auto use = [&] {
      session.results.push_back(static_cast<int>(serialWrite(port, goesOn, sent)));
      session.results.push_back(static_cast<int>(serialRead(port, nullptr, received, 2000)));
      session.results.push_back(
          static_cast<int>(serialRead(port, nullptr, std::span(received).first(1), 10)));
      session.results.push_back(static_cast<int>(serialPurge(port).ok()));
      serialClose(port);
      capture::close();
    };
    const auto isOfInterest = [&](const std::string& path) {
      return path.starts_with("/dev/pts/") || path.ends_with("/dongle") || path.ends_with("/capture");
    };
    watched = watchFunction(
        [&] {
          open();
          // Later than the purge that opening does.
          if (port != platform::closedPort) peer.send({6, 5, 4, 3, 2, 1});
          use();
        },
        fault, isOfInterest);
    session.read = received;
    session.captured = fs::exists(folder_ / "capture") ? fs::file_size(folder_ / "capture") : 0;
    EXPECT_EQ(port, platform::closedPort);
    // Where closing fails, the test keeps the number of the descriptor in use.
    EXPECT_EQ(openDescriptors(), before + (fault.call == "close" && !watched.failed.empty() ? 1 : 0));
    EXPECT_EQ(serialOpen("COM7", port), OpenResult::done) << "afterwards";
    serialClose(port);
    capture::close();
    return session;
  }

  const TemporaryFolder folder_;
};

TEST_F(PosixFailingCalls, AreRepeatedOrReported)
{
  WatchedRun watched;
  const Session undisturbed = run({}, watched);
  ASSERT_EQ(undisturbed.read, (std::vector<std::uint8_t>{6, 5, 4, 3, 2, 1}));
  unsigned calls = 0;
  unsigned runs = 0;
  unsigned reported = 0;
  for (const auto& [call, errors] : errorsOf) {
    for (const int error : errors) {
      for (unsigned number = 1;; ++number) {
        const Session session = run({.call = call, .number = number, .error = error}, watched);
        if (watched.failed.empty()) break;
        calls += error == errors.front() ? 1 : 0;
        ++runs;
        SCOPED_TRACE(std::string(call) + " " + std::to_string(number) + " of " + watched.failed + ": " +
                     nameOf(error));
        // A capture never fails what it captures.
        const bool isCapture = watched.failed.ends_with("/capture");
        if (isRepeated(call, error) || isCapture) {
          EXPECT_EQ(session.results, undisturbed.results);
        }
        if (isRepeated(call, error)) {
          EXPECT_EQ(session.captured, undisturbed.captured);
        }
        if (session.results == undisturbed.results) {
          EXPECT_EQ(session.read, undisturbed.read);
          EXPECT_EQ(session.ports, undisturbed.ports);
        } else {
          ++reported;
        }
      }
    }
  }
  std::cout << "platform: " << calls << " calls, " << runs << " runs, " << reported << " reported\n";
  EXPECT_GT(reported, 0U);
}

}  // namespace
