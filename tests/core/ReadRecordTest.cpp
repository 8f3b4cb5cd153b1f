// Timestamps, filling and silence of readRecord, with frames added to the stores by hand.

#include "tests/core/CoreFixture.h"

namespace {

class ReadRecordTest : public CoreTest {
 protected:
  // Opens an object's link without incoming messages.
  void open(const std::string& lines)
  {
    make(lines);
    port_.present = false;
    tessel_->configure();  // fails at once, but creates a link to open by hand
    port_.present = true;
    ASSERT_EQ(serialOpen("COM7", tessel_->bleDevice_.load()->port()), OpenResult::done);
    install();
  }

  // Adds a frame of 17 samples, or 26 with three packets; the samples are 1, 2, 3...
  static void deliver(std::size_t glove, std::uint16_t clockTicks, std::uint8_t counter = 1,
                      std::uint8_t packets = 2)
  {
    std::uint8_t sample = 0;
    for (std::uint8_t index = 0; index < packets; ++index) {
      std::array<std::uint8_t, 20> packet{index};
      std::size_t at = 2;
      if (index == 0) {
        packet = {static_cast<std::uint8_t>(counter << 4), packets,
                  static_cast<std::uint8_t>(clockTicks >> 8), static_cast<std::uint8_t>(clockTicks)};
        at = 4;
      }
      for (; at < packet.size(); at += 2) {
        packet[at + 1] = ++sample;
      }
      stores[glove].setPacketFormat(0);
      ASSERT_EQ(stores[glove].addPacket(packet), PacketStore::Result::done);
    }
  }

  // A read with an incoming message.
  std::int32_t read()
  {
    arrive(hex("80 00 00 06"));
    return tessel_->readRecord();
  }

  // Sets the host's clock, which otherwise does not advance.
  void setClock(std::uint32_t ms) { clockOffset_ = ms - static_cast<std::uint32_t>(nowMs()); }

  std::uint32_t timestamp() const { return record_->records.back().timestamp; }
};

const std::string oneGlove = "TesselElementCount\t17\nTesselNumSensors\t1\n";

TEST_F(ReadRecordTest, TheTimestampFollowsTheDeviceAndSlowlyTheHost)
{
  const struct {
    const char* name;
    std::string settings;
    std::vector<std::array<std::uint32_t, 3>> steps;  // device ticks, host clock, timestamp
  } cases[] = {
      {"half a millisecond is rounded up",
       "",
       {{10000, 5000, 5000}, {10004, 5000, 5000}, {10005, 5000, 5001}}},
      // 100 ms apart: the filter takes 5 per cent of the difference, and fractions of a millisecond are
      // dropped
      {"late host", "", {{10000, 5000, 5000}, {10400, 5140, 5045}, {10800, 5180, 5089}, {11200, 5220, 5134}}},
      {"no divisor: the host's clock", "TesselTimeDivisor\t0\n", {{1, 5000, 5000}, {2, 5100, 5100}}},
      {"negative divisor likewise", "TesselTimeDivisor\t-1\n", {{1, 5000, 5000}, {2, 5100, 5100}}},
      {"tiny divisor", "TesselTimeDivisor\t1e-300\n", {{1, 5000, 5000}, {2, 5000, 5000}}},
  };
  for (const auto& [name, settings, steps] : cases) {
    resetSettings();
    stores = {};
    open(oneGlove + settings);
    for (const auto& [ticks, hostClock, expected] : steps) {
      setClock(hostClock);
      deliver(0, static_cast<std::uint16_t>(ticks));
      ASSERT_EQ(read(), 0) << name;
      EXPECT_EQ(timestamp(), expected) << name << ticks;
    }
  }
}

TEST_F(ReadRecordTest, ATimestampThatWrapsApartFromTheHostsClockJumps)
{
  open(oneGlove);
  setClock(0xFFFFFFF0);
  deliver(0, 10000);
  EXPECT_EQ(read(), 0);
  setClock(0xFFFFFFFF);
  deliver(0, 10200);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(timestamp(), 4U + 214'748'364) << "5 per cent of 4294967291";
}

TEST_F(ReadRecordTest, AfterSevenDaysTheTimestampFallsBackToTheFirst)
{
  open(oneGlove + "TesselTimeDivisor\t0.0001\n");
  setClock(1000);
  deliver(0, 1000);  // 10,000,000 ms
  EXPECT_EQ(read(), 0);
  deliver(0, 60480);  // 604,800,000 ms: exactly seven days
  setClock(1000U + 594'800'000);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(timestamp(), 1000U + 594'800'000);
  deliver(0, 60481);
  setClock(1000U - 10'000'000);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(timestamp(), 1000U - 10'000'000);
}

TEST_F(ReadRecordTest, ABacklogOfSixIsNotCorrected)
{
  open(oneGlove);
  setClock(5000);
  deliver(0, 1000);
  ASSERT_EQ(read(), 0);
  setClock(7000);
  for (std::uint16_t frame = 1; frame <= 6; ++frame) {
    deliver(0, static_cast<std::uint16_t>(1000 + 100 * frame));
  }
  ASSERT_EQ(read(), 0);
  EXPECT_EQ(timestamp(), 5010U) << "six were waiting";
  ASSERT_EQ(read(), 0);
  EXPECT_EQ(timestamp(), 5020U + 99) << "five were: 5 per cent of 1980";
}

TEST_F(ReadRecordTest, SilenceFailsAfterTheReadTimeout)
{
  const struct {
    const char* timeout;
    std::uint32_t delivery, later;
    std::int32_t result;
  } cases[] = {
      {"10000", 1000, 11000, 0},        {"10000", 1000, 11001, -1}, {"10000", 0xFFFFFF00, 0x2611, -1},
      {"10000", 0xFFFFFF00, 0x2600, 0}, {"-1", 1000, 999, 0},       {"10000", 0, 50000, 0}};
  for (const auto& [timeout, delivery, later, result] : cases) {
    resetSettings();
    open(oneGlove + "TesselReadTimeout\t" + timeout + "\n");
    EXPECT_EQ(read(), 0) << "before the first frame no silence is too long";
    setClock(delivery);
    deliver(0, 1000);
    EXPECT_EQ(read(), 0);
    setClock(later);
    EXPECT_EQ(read(), result) << timeout << " " << delivery << " " << later;
  }
}

TEST_F(ReadRecordTest, LostFramesAreCountedFromTheFirstOn)
{
  open(oneGlove);
  for (const auto& [counter, lost] :
       std::vector<std::pair<int, std::int64_t>>{{5, 4}, {6, 4}, {6, 3}, {9, 5}}) {
    deliver(0, 1000, static_cast<std::uint8_t>(counter));
    ASSERT_EQ(read(), 0);
    EXPECT_EQ(tessel_->lostFrames_, lost);
  }
}

TEST_F(ReadRecordTest, GlovesFillTheRecordInOrderAndNothingElse)
{
  constexpr unsigned short none = HostRecord::untouched;
  open("TesselElementCount\t6\nTesselAuxCount\t2\nTesselNumSensors\t2\n");
  deliver(0, 1000);
  EXPECT_EQ(read(), 0);
  EXPECT_TRUE(record_->records.empty()) << "no record of one glove alone";
  deliver(1, 1000);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(record_->records.at(0).elements, (std::vector<unsigned short>{1, 2, 3, 1, 2, 3, none, none}));

  install({7, -1, 5});
  deliver(0, 1000);
  deliver(1, 1000);
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(record_->records.at(0).elements,
            (std::vector<unsigned short>{none, none, none, none, none, 3, none, 1}));
}

TEST_F(ReadRecordTest, UnevenCountsStayInsideTheRecord)
{
  constexpr unsigned short none = HostRecord::untouched;
  const std::pair<std::string, std::vector<unsigned short>> cases[] = {
      {"TesselElementCount\t5\n", {1, 2, 1, 2, none}},
      {"TesselElementCount\t10\nTesselAuxCount\t-3\n", {1, 2, 3, 4, 5, 1, 2}},
      {"TesselElementCount\t10\nTesselAuxCount\t-7\n", {1, 2, 3}},
  };
  for (const auto& [settings, elements] : cases) {
    resetSettings();
    stores = {};
    open(settings + "TesselNumSensors\t2\n");
    deliver(0, 1000);
    deliver(1, 1000);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(record_->records.at(0).elements, elements);
  }
}

TEST_F(ReadRecordTest, AMissingRecordIsTheHostsMistake)
{
  open(oneGlove);
  deliver(0, 1000);
  record_->map.data_ = nullptr;
  EXPECT_THROW(read(), const wchar_t*);
  deliver(0, 1010);
  tessel_->mapping_ = nullptr;
  EXPECT_THROW(read(), const wchar_t*);
}

}  // namespace
