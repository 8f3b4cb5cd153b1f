// Sending and receiving through the current device's port.

#include "link/Messages.h"

#include "tests/link/LinkFixture.h"

namespace {

TEST_F(LinkTest, AReceiveReportsItsResult)
{
  openPort();
  const struct {
    const char* name;
    const char* bytes;
    ReceiveResult result;
    std::int64_t tookMs;
  } cases[] = {
      {"handled", "00 02 06 02 00 00", ReceiveResult::handled, 0},
      {"known and ignored", "00 01 06 00 00", ReceiveResult::handled, 0},
      {"no payload, no second read", "00 00 00 01", ReceiveResult::handled, 0},
      {"high length bits are ignored", "07 02 06 02 00 00", ReceiveResult::handled, 0},
      {"last event of class 0", "80 00 00 06", ReceiveResult::handled, 0},
      {"event 7 of class 0", "80 00 00 07", ReceiveResult::unknown, 0},
      {"event of class 8", "80 00 08 00", ReceiveResult::unknown, 0},
      {"event of class 9", "80 00 09 00", ReceiveResult::handled, 0},
      {"response 18 of class 0", "00 00 00 12", ReceiveResult::unknown, 0},
      {"response of class 10", "00 00 0A 00", ReceiveResult::unknown, 0},
      {"unknown, payload consumed", "00 02 FF FF 11 22", ReceiveResult::unknown, 0},
      {"silence", "", ReceiveResult::nothing, 100},
      // The received part is one read of the operating system, the missing part another.
      {"truncated header", "80 02", ReceiveResult::nothing, 200},
      {"truncated payload", "00 02 06 02 00", ReceiveResult::nothing, 200},
  };
  for (const auto& [name, bytes, result, tookMs] : cases) {
    arrive(hex(bytes));
    const std::int64_t before = nowMs();
    EXPECT_EQ(ble_receive_message(100), result) << name;
    EXPECT_EQ(nowMs() - before, tookMs) << name;
    EXPECT_TRUE(port_.waiting.empty()) << name;
  }
}

TEST_F(LinkTest, HeaderAndPayloadEachHaveTheWholeTimeout)
{
  openPort();
  platform_.clock.after(std::chrono::milliseconds(90), [this] { arrive(hex("00 02 06 02")); });
  platform_.clock.after(std::chrono::milliseconds(180), [this] { arrive(hex("00 00")); });
  EXPECT_EQ(ble_receive_message(100), ReceiveResult::handled);
  EXPECT_EQ(nowMs(), 180);
}

TEST_F(LinkTest, AStopBetweenHeaderAndPayloadDoesNotInterruptTheMessage)
{
  openPort();
  arrive(hex("00 02 06 02"));
  platform_.clock.after(std::chrono::milliseconds(10), [this] { device_.raiseStop(); });
  platform_.clock.after(std::chrono::milliseconds(20), [this] { arrive(hex("00 00")); });
  EXPECT_EQ(ble_receive_message(100), ReceiveResult::handled);
}

TEST_F(LinkTest, AFailedWriteIsProbedByTheNextPollAlone)
{
  openPort();
  const auto probes = [this] {
    arrive(hex("80 00 00 06"));
    const int before = port_.timeoutReads;
    device_.poll();
    return port_.timeoutReads - before - 1;  // the receive reads once
  };
  EXPECT_EQ(probes(), 0);
  port_.writeError = 5;
  const int before = port_.writes;
  ble_send_message(ble_cmd_attclient_attribute_write, {1, 18, hex("01 00")});
  EXPECT_EQ(port_.writes - before, 1) << "no array after a header that failed";
  EXPECT_EQ(probes(), 1);
  EXPECT_EQ(probes(), 0);
  arrive(hex("80 00 08 00"));
  std::ignore = ble_receive_message(100);
  EXPECT_EQ(probes(), 0) << "an unknown message needs no probe";
  device_.raiseStop();
  ble_send_message(ble_cmd_gap_discover, {1});
  EXPECT_EQ(probes(), 0) << "what was dropped did not fail";
}

TEST_F(LinkTest, AnArrayIsSentInASeparateWrite)
{
  openPort();
  std::vector<std::string> writes;
  port_.onWrite = [&](std::span<const std::uint8_t> bytes) { writes.push_back(toHex(bytes)); };
  ble_send_message(ble_cmd_attclient_attribute_write, {1, 18, hex("01 00")});
  EXPECT_EQ(writes, (std::vector<std::string>{"00 06 04 05 01 12 00 02", "01 00"}));
  port_.onWrite = [&](std::span<const std::uint8_t>) { device_.raiseStop(); };
  port_.written.clear();
  ble_send_message(ble_cmd_attclient_attribute_write, {1, 18, hex("01 00")});
  EXPECT_EQ(toHex(port_.written), "00 06 04 05 01 12 00 02") << "a stop comes between the two";
  ble_send_message(ble_cmd_gap_discover, {1});
  currentDevice = nullptr;
  ble_send_message(ble_cmd_gap_discover, {1});
  EXPECT_EQ(port_.written.size(), 8U) << "dropped while stopped, and without a device";
}

TEST(SendMessage, IsDiscardedWithoutAHook)
{
  ble_output_hook = nullptr;
  ble_send_message(ble_cmd_gap_discover, {1});
  static int calls;
  calls = 0;
  ble_output_hook = [](std::span<const std::uint8_t>, std::span<const std::uint8_t>) { ++calls; };
  ble_send_message(ble_cmd_gap_discover, {1});
  ble_output_hook = nullptr;
  EXPECT_EQ(calls, 1);
}

}  // namespace
