// What the serial layer writes into a capture, byte by byte, and what it does when the target is full.

#include "serial/Capture.h"

#include <gtest/gtest.h>

#include "serial/SerialPort.h"
#include "tests/support/Hex.h"
#include "tests/support/SimulatedPlatform.h"

namespace {

constexpr std::size_t sectionSize = 100, headersSize = 144;  // the latter with the interface

std::string text(std::span<const std::uint8_t> bytes)
{
  return {bytes.begin(), bytes.end()};
}

class SerialCapture : public testing::Test {
 protected:
  SerialCapture()
  {
    capture::close();
    platform_.capturing = true;
    platform_.clock.advance(std::chrono::seconds(5));
  }
  ~SerialCapture() override { capture::close(); }

  void open() { ASSERT_EQ(serialOpen("COM7", handle_), OpenResult::done); }

  ReadResult read(std::size_t count)
  {
    Bytes bytes(count);
    return serialRead(handle_, &stop_, bytes, 100);
  }

  void receive(const Bytes& bytes) { port_.waiting.insert(port_.waiting.end(), bytes.begin(), bytes.end()); }

  // What has been captured since the last call, after everything gathered was written.
  Bytes taken()
  {
    capture::flush();
    return std::exchange(platform_.captured, {});
  }

  // The same as one word for each block: the comment of a note, otherwise the number of bytes.
  std::vector<std::string> takenEntries()
  {
    std::vector<std::string> entries;
    const Bytes bytes = taken();
    for (std::size_t at = 0; at + 12 <= bytes.size();) {
      const std::size_t length = bytes[at + 4] + std::size_t{bytes[at + 5]} * 256;
      const std::size_t data = bytes[at + 20];
      entries.push_back(data > 0 ? std::to_string(data)
                                 : text(std::span(bytes).subspan(at + 32, bytes[at + 30])));
      at += length;
    }
    return entries;
  }

  SimulatedPlatform platform_;
  SimulatedPlatform::Port& port_ = platform_.addPort("Bluegiga Bluetooth Low Energy (COM7)");
  platform::PortHandle handle_ = platform::closedPort;
  StopFlag stop_{0};
};

TEST_F(SerialCapture, TheFirstOpenWritesSectionInterfaceAndNote)
{
  EXPECT_FALSE(platform_.captureIsOpen);
  open();
  const Bytes bytes = taken();
  ASSERT_GE(bytes.size(), headersSize);
  EXPECT_EQ(toHex(std::span(bytes).first(28)),
            "0A 0D 0D 0A 64 00 00 00 4D 3C 2B 1A 01 00 00 00 FF FF FF FF FF FF FF FF 01 00 3F 00");
  EXPECT_EQ(text(std::span(bytes).subspan(28, 63)),
            "tessel-capture 1 wall=1700000005000000000ns uptime=5000000000ns");
  EXPECT_EQ(toHex(std::span(bytes).subspan(91, sectionSize - 91)), "00 00 00 00 00 64 00 00 00");
  EXPECT_EQ(toHex(std::span(bytes).subspan(sectionSize, headersSize - sectionSize)),
            "01 00 00 00 2C 00 00 00 93 00 00 00 00 00 00 00 02 00 06 00 64 6F 6E 67 6C 65 00 00 09 00 01 00 "
            "09 00 00 00 00 00 00 00 2C 00 00 00");
  // 1,700,000,005,000,000,001 ns
  EXPECT_EQ(toHex(std::span(bytes).subspan(headersSize)),
            "06 00 00 00 34 00 00 00 00 00 00 00 FF 9C 97 17 01 F2 2F 60 00 00 00 00 00 00 00 00 "
            "01 00 09 00 6F 70 65 6E 20 43 4F 4D 37 00 00 00 00 00 00 00 34 00 00 00");
  open();
  EXPECT_EQ(takenEntries(), (std::vector<std::string>{"close", "open COM7"})) << "one section for each load";
}

TEST_F(SerialCapture, EachSerialCallIsOnePacketWithTimeAndDirection)
{
  open();
  taken();
  platform_.clock.after(std::chrono::milliseconds(20), [this] { receive({0x80, 0x19, 0x04, 0x05, 0x00}); });
  EXPECT_EQ(read(5), ReadResult::filled);
  // 1,700,000,005,020,000,000 ns: when the bytes had come
  EXPECT_EQ(toHex(taken()),
            "06 00 00 00 34 00 00 00 00 00 00 00 FF 9C 97 17 00 1F 61 61 05 00 00 00 05 00 00 00 "
            "80 19 04 05 00 00 00 00 02 00 04 00 01 00 00 00 00 00 00 00 34 00 00 00");
  EXPECT_EQ(serialWrite(handle_, stop_, Bytes{0, 1, 9, 0}), WriteResult::done);
  EXPECT_EQ(toHex(taken()),
            "06 00 00 00 30 00 00 00 00 00 00 00 FF 9C 97 17 01 1F 61 61 04 00 00 00 04 00 00 00 "
            "00 01 09 00 02 00 04 00 02 00 00 00 00 00 00 00 30 00 00 00");
}

TEST_F(SerialCapture, AReadThatEndsEarlyKeepsItsBytesAndSaysSo)
{
  open();
  taken();
  receive({1, 2, 3});
  EXPECT_EQ(read(4), ReadResult::nothing);
  EXPECT_EQ(read(4), ReadResult::nothing);
  EXPECT_EQ(toHex(taken()),
            "06 00 00 00 40 00 00 00 00 00 00 00 FF 9C 97 17 00 B4 1B 6C 03 00 00 00 03 00 00 00 "
            "01 02 03 00 02 00 04 00 01 00 00 00 01 00 0A 00 69 6E 63 6F 6D 70 6C 65 74 65 00 00 00 00 00 00 "
            "40 00 00 00")
      << "and a read without bytes leaves no packet";
}

TEST_F(SerialCapture, SplitCallsHoldWhatTheDeviceMoved)
{
  // Bytes 7 to 10 of the read fall beyond its buffer; those of the write are zeros.
  open();
  taken();
  receive({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  port_.maxPerRead = port_.maxPerWrite = 3;
  EXPECT_EQ(read(10), ReadResult::filled);
  Bytes packet = taken();
  EXPECT_EQ(toHex(std::span(packet).subspan(28, 10)), "01 02 03 04 05 06 07 08 09 0A");
  EXPECT_EQ(serialWrite(handle_, stop_, Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), WriteResult::done);
  packet = taken();
  EXPECT_EQ(toHex(std::span(packet).subspan(28, 10)), toHex(port_.written));
}

TEST_F(SerialCapture, PacketsAreGatheredUntilTheSystemMustBeAsked)
{
  open();
  receive({1, 2, 3, 4, 5, 6});
  platform_.captureWrites = 0;
  for (int part = 0; part < 3; ++part) {
    ASSERT_EQ(read(2), ReadResult::filled);
  }
  EXPECT_EQ(platform_.captureWrites, 0);
  EXPECT_EQ(read(1), ReadResult::nothing);
  EXPECT_EQ(platform_.captureWrites, 1);
}

TEST_F(SerialCapture, NotesNamePurgeAndCloseAndReachTheTargetAtOnce)
{
  open();
  serialPurge(handle_);
  serialClose(handle_);
  const std::size_t written = platform_.captured.size();
  EXPECT_EQ(taken().size(), written);
  open();
  serialPurge(handle_);
  port_.present = false;
  serialClose(handle_);
  EXPECT_EQ(takenEntries(), (std::vector<std::string>{"open COM7", "purge", "close"}));
}

TEST_F(SerialCapture, AFullTargetGetsWholeBlocksAndTheNumberOfTheLostOnes)
{
  open();
  taken();
  // The target stops within the first packet; the library keeps what fits into 4,096 bytes and drops the
  // rest.
  platform_.captureCapacity = 20;
  constexpr int packets = 300;
  for (int packet = 0; packet < packets; ++packet) {
    receive({static_cast<std::uint8_t>(packet)});
    ASSERT_EQ(read(1), ReadResult::filled);
  }
  EXPECT_EQ(platform_.captured.size(), 20U);
  platform_.captureCapacity = 100'000;
  receive({77, 77});
  ASSERT_EQ(read(2), ReadResult::filled);
  const std::vector<std::string> entries = takenEntries();
  ASSERT_GT(entries.size(), 3U);
  const std::size_t kept = entries.size() - 2;
  EXPECT_EQ(entries[0], "1") << "the torn packet was completed";
  EXPECT_EQ(entries[kept], "lost " + std::to_string(packets - kept) + " blocks");
  EXPECT_EQ(entries.back(), "2");
}

TEST_F(SerialCapture, ATargetThatCanNotBeOpenedIsReportedOnceAndNotTriedAgain)
{
  platform_.captureError = "no such pipe";
  open();
  platform_.captureError.clear();
  open();
  EXPECT_TRUE(platform_.captured.empty());
  platform_.captureError = "no such pipe";
  EXPECT_EQ(capture::takeError(), "no such pipe");
  EXPECT_EQ(capture::takeError(), "");
}

TEST(NoCapture, NothingIsOpenedOrWritten)
{
  capture::close();
  SimulatedPlatform platform;
  platform.addPort("Bluegiga Bluetooth Low Energy (COM7)");
  platform::PortHandle handle = platform::closedPort;
  ASSERT_EQ(serialOpen("COM7", handle), OpenResult::done);
  serialClose(handle);
  EXPECT_FALSE(platform.captureIsOpen);
  EXPECT_EQ(platform.captureWrites, 0);
  EXPECT_EQ(platform.latestUptime().count(), 0) << "the clock is not asked";
}

}  // namespace
