// Guarantees of the serial layer on every platform. The same cases run on the simulated platform and on a
// real pseudo terminal; see SerialPeer.h.

#include <gtest/gtest.h>

#include <numeric>

#include "serial/SerialPort.h"
#include "tests/support/SerialPeer.h"

namespace {

using namespace std::chrono_literals;
using Bytes = SerialPeer::Bytes;

// Resolution of the tick count on some systems, in ms.
constexpr std::uint32_t rounding = 16;

class SerialConformance : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(serialOpen("COM7", port_), OpenResult::done); }
  void TearDown() override { serialClose(port_); }

  // The bytes of a successful read, otherwise none.
  Bytes read(std::size_t count, std::uint32_t timeoutMs)
  {
    Bytes bytes(count);
    const ReadResult result = serialRead(port_, &stop_, bytes, timeoutMs);
    EXPECT_TRUE(result == ReadResult::filled || result == ReadResult::nothing);
    return result == ReadResult::nothing ? Bytes() : bytes;
  }

  platform::PortHandle port_ = platform::closedPort;
  StopFlag stop_{0};
  SerialPeer peer_;  // last: its destructor may use the others
};

TEST_F(SerialConformance, EveryByteValuePassesUnchangedInBothDirections)
{
  Bytes all(256);
  std::iota(all.begin(), all.end(), std::uint8_t{0});
  peer_.send(all);
  EXPECT_EQ(read(all.size(), 2000), all);
  EXPECT_EQ(serialWrite(port_, stop_, all), WriteResult::done);
  EXPECT_EQ(peer_.receive(all.size()), all);
}

TEST_F(SerialConformance, OneReadJoinsBytesThatArriveInPieces)
{
  peer_.send({1, 2, 3});
  peer_.after(20ms, [this] { peer_.send({4, 5, 6, 7}); });
  peer_.after(60ms, [this] { peer_.send({8, 9, 10}); });
  EXPECT_EQ(read(10, 5000), Bytes({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST_F(SerialConformance, APartThatTimesOutIsLostAndTheNextReadStartsFresh)
{
  peer_.send({1, 2, 3});
  const std::uint32_t before = platform::tickCount();
  EXPECT_EQ(read(10, 40), Bytes());
  EXPECT_GE(platform::tickCount() - before + rounding, 80U)
      << "each read of the system has the whole timeout";
  peer_.send({4, 5});
  EXPECT_EQ(read(2, 2000), Bytes({4, 5}));
}

TEST_F(SerialConformance, ATimeoutOfZeroReadsWhatHasArrived)
{
  peer_.send({1, 2, 3, 4});
  ASSERT_EQ(read(1, 2000), Bytes({1}));
  EXPECT_EQ(read(3, 0), Bytes({2, 3, 4}));
  EXPECT_EQ(read(1, 0), Bytes());
}

TEST_F(SerialConformance, OpeningAgainAndPurgingDiscardReceivedBytes)
{
  peer_.send({1, 2, 3, 4});
  ASSERT_EQ(read(1, 2000), Bytes({1}));
  EXPECT_TRUE(platform::purgeReceived(port_).ok());
  peer_.send({5, 6});
  ASSERT_EQ(read(1, 2000), Bytes({5}));
  EXPECT_EQ(serialOpen("COM7", port_), OpenResult::done);
  peer_.send({7});
  EXPECT_EQ(read(1, 2000), Bytes({7}));
}

TEST_F(SerialConformance, ManyMessagesKeepTheirOrder)
{
  std::uint8_t sent = 0;
  std::uint8_t expected = 0;
  for (int turn = 0; turn < 10; ++turn) {
    Bytes bytes(2900);
    std::generate(bytes.begin(), bytes.end(), [&] { return sent++; });
    peer_.send(bytes);
    for (int piece = 0; piece < 200; ++piece) {
      const Bytes received = read(piece % 2 == 0 ? 4 : 25, 2000);
      ASSERT_FALSE(received.empty());
      for (const std::uint8_t byte : received) {
        ASSERT_EQ(byte, expected++);
      }
    }
  }
}

TEST_F(SerialConformance, ARaisedStopFlagEndsReadsAndWrites)
{
  peer_.send({1});
  stop_ = 1;
  Bytes bytes(1);
  EXPECT_EQ(serialRead(port_, &stop_, bytes, 2000), ReadResult::stopped);
  EXPECT_EQ(serialWrite(port_, stop_, bytes), WriteResult::stopped);
  EXPECT_EQ(serialRead(port_, nullptr, bytes, 2000), ReadResult::filled) << "a null flag can't stop a read";
}

TEST_F(SerialConformance, AStopRaisedDuringAWaitIsSeenWhenTheWaitEnds)
{
  peer_.send({1, 2, 3});
  peer_.after(20ms, [this] { stop_.store(1, std::memory_order_relaxed); });
  Bytes bytes(10);
  EXPECT_EQ(serialRead(port_, &stop_, bytes, 500), ReadResult::stopped);
}

TEST_F(SerialConformance, ADeviceThatGoesAwayFailsAndComesBack)
{
  peer_.unplug();
  Bytes bytes(4);
  EXPECT_EQ(serialRead(port_, &stop_, bytes, 2000), ReadResult::failed);
  EXPECT_GT(static_cast<std::int32_t>(serialWrite(port_, stop_, bytes)), 0) << "the system's error number";
  EXPECT_EQ(serialFindPort(platform::dongleName), -1);
  EXPECT_EQ(serialOpen("COM7", port_), OpenResult::failed);
  EXPECT_EQ(port_, platform::closedPort);

  peer_.plugIn();
  EXPECT_EQ(serialFindPort(platform::dongleName), 7);
  ASSERT_EQ(serialOpen("COM7", port_), OpenResult::done);
  peer_.send({1, 2, 3, 4});
  EXPECT_EQ(read(4, 2000), Bytes({1, 2, 3, 4}));
}

TEST_F(SerialConformance, ADeviceThatGoesAwayEndsAWait)
{
  peer_.after(20ms, [this] { peer_.unplug(); });
  Bytes bytes(4);
  EXPECT_EQ(serialRead(port_, &stop_, bytes, 60'000), ReadResult::failed);
}

TEST_F(SerialConformance, APortThatAnotherProgramHoldsDoesNotOpenUntilThatProgramIsGone)
{
  serialClose(port_);
  ASSERT_TRUE(peer_.occupy());
  EXPECT_EQ(serialOpen("COM7", port_), OpenResult::failed);
  EXPECT_EQ(port_, platform::closedPort);
  peer_.vacate();
  EXPECT_EQ(serialOpen("COM7", port_), OpenResult::done);
}

TEST_F(SerialConformance, AHandleIsAliveUntilItIsClosed)
{
  const platform::PortHandle handle = port_;
  EXPECT_TRUE(serialIsAlive(handle));
  serialClose(port_);
  EXPECT_EQ(port_, platform::closedPort);
  EXPECT_FALSE(serialIsAlive(handle));
  serialClose(port_);
  Bytes bytes(1);
  EXPECT_EQ(serialRead(port_, &stop_, bytes, 0), ReadResult::stopped);
  EXPECT_EQ(serialWrite(port_, stop_, bytes), WriteResult::stopped);
}

}  // namespace
