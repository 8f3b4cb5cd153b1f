#include <gtest/gtest.h>

#include "stream/PacketStore.h"
#include "tests/support/Packets.h"

namespace {

using enum PacketStore::Result;

class NumberedAccess : public testing::Test {
 protected:
  // Queues a frame of 17 samples.
  void add(int counter, int clock, std::uint8_t fill = 0)
  {
    store_.setPacketFormat(0);
    for (const PacketBytes& bytes : compactFrame(counter, clock, 2, fill)) {
      store_.addPacket(bytes);
    }
  }

  // Adds a repeat notice for the modules of the mask.
  void repeat(int counter, int clock, int mask)
  {
    store_.addRepeat(packet(
        {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, counter, clock & 0xFF, clock >> 8, mask & 0xFF, mask >> 8}, 0xFF));
  }

  Framelet takeNewest()
  {
    while (store_.takeFramelet(out_, false) == done) {
    }
    return out_.back();
  }

  PacketStore store_;
  std::vector<Framelet> out_;
};

TEST_F(NumberedAccess, FindsFramesByNumberAndTakesThemWithAllOlderOnes)
{
  EXPECT_EQ(store_.nextNumber(0), -1);
  for (const int counter : {3, 5, 7}) {
    add(counter, counter);
  }
  EXPECT_TRUE(store_.hasNumber(5));
  EXPECT_FALSE(store_.hasNumber(4));
  EXPECT_EQ(store_.nextNumber(4), 5);
  EXPECT_EQ(store_.nextNumber(5), 5);
  EXPECT_EQ(store_.nextNumber(8), -1);

  EXPECT_EQ(store_.takeNumbered(out_, 4), unusable);
  EXPECT_EQ(store_.takeNumbered(out_, 5), done);
  EXPECT_EQ(store_.dump(),
            " Expecting packet 0 of 1\n Bytestream size: 0 Framelets size: 1, published: 1 completed: 3\n"
            " Framelets: 7\n");
  EXPECT_EQ(store_.takeNumbered(out_, 7), done);
  EXPECT_NE(store_.dump().find("Framelets size: 0, published: 1 "), std::string::npos);
  ASSERT_EQ(out_.size(), 2U);
  EXPECT_EQ(out_[0].frameNumber, 5);
}

TEST_F(NumberedAccess, ANoticeForOthersChangesNothing)
{
  store_.setModule(1);
  add(1, 100);
  repeat(9, 50, 0xFFFD);
  add(2, 150);
  EXPECT_EQ(store_.frameletCount(), 2U);
  EXPECT_EQ(takeNewest().timeStamp, 150U) << "the notice's clock of 50 was not noted";
}

TEST_F(NumberedAccess, ANoticeRepeatsZerosThenTheNewestThenThePublished)
{
  store_.setModule(9);
  repeat(1, 100, 1 << 9);
  const Framelet frame = takeNewest();
  EXPECT_EQ(std::tie(frame.module, frame.frameNumber, frame.timeStamp), std::tuple(9, 1, 100U));
  EXPECT_EQ(frame.samples, std::vector<std::uint16_t>(240));

  add(2, 200, 0x22);
  repeat(3, 300, 1 << 9);
  EXPECT_EQ(store_.frameletCount(), 2U) << "the newest stays where it is";
  EXPECT_EQ(takeNewest().samples, std::vector<std::uint16_t>(17, 0x2222));
  EXPECT_EQ(out_.back().frameNumber, 3);

  add(4, 400, 0x44);
  store_.takeNumbered(out_, 4);
  repeat(5, 500, 1 << 9);
  EXPECT_NE(store_.dump().find("published: 0 "), std::string::npos);
  EXPECT_EQ(takeNewest().samples, std::vector<std::uint16_t>(17, 0x4444));
}

TEST_F(NumberedAccess, ANoticeKeepsTheFrameBeingAssembledAndAlwaysHasAnEightBitCounter)
{
  store_.setModule(0);
  store_.setPacketFormat(0);
  store_.addPacket(packet({0xE0, 0x02, 0x00, 0x64}, 0x11));
  repeat(3, 200, 1);
  EXPECT_EQ(takeNewest().frameNumber, 259);
  EXPECT_EQ(store_.addPacket(packet({0x01, 0x00}, 0x11)), done);
  EXPECT_EQ(takeNewest().samples, std::vector<std::uint16_t>(17, 0x1111));
}

TEST_F(NumberedAccess, TheReportListsSamplesAndTheMeanTimeBetweenFrames)
{
  EXPECT_EQ(store_.report(), "Framelets in packet store 42\nAverage time between frames: 0 ms\n");
  add(1, 1000, 0xFF);
  add(2, 1250);
  add(3, 1505);
  const std::string report = store_.report();
  EXPECT_TRUE(report.starts_with("Framelets in packet store 42\n1, 1000: 65535 65535 ")) << report;
  EXPECT_TRUE(report.ends_with(" 0 0\nAverage time between frames: 25.25 ms\n")) << report;
}

}  // namespace
