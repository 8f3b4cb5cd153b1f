#include <gtest/gtest.h>

#include "stream/PacketStore.h"
#include "tests/support/Packets.h"

namespace {

constexpr int done = 0, unusable = 5;

class NumberedAccess : public testing::Test {
 protected:
  // Queues a frame of 17 samples.
  void add(PacketStore& store, int counter, int clock, std::uint8_t fill = 0)
  {
    store.setPacketFormat(0);
    for (const PacketBytes& bytes : compactFrame(counter, clock, 2, fill)) {
      store.addPacket(bytes);
    }
  }

  // A repeat notice for the modules of the mask.
  static PacketBytes notice(int counter, int clock, int mask)
  {
    return packet({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, counter, clock, clock >> 8, mask, mask >> 8}, 0xFF);
  }

  Framelet newest(PacketStore& store)
  {
    while (store.takeFramelet(out_, false) == done) {
    }
    return out_.back();
  }

  PacketStore store_;
  std::vector<Framelet> out_;
};

TEST_F(NumberedAccess, FindsFramesByNumber)
{
  EXPECT_EQ(store_.nextNumber(0), -1);
  EXPECT_FALSE(store_.hasNumber(0));
  for (const int counter : {3, 5, 7}) {
    add(store_, counter, counter);
  }
  EXPECT_TRUE(store_.hasNumber(5));
  EXPECT_FALSE(store_.hasNumber(4));
  EXPECT_EQ(store_.nextNumber(4), 5);
  EXPECT_EQ(store_.nextNumber(5), 5);
  EXPECT_EQ(store_.nextNumber(-9), 3);
  EXPECT_EQ(store_.nextNumber(8), -1);
}

TEST_F(NumberedAccess, TakingOneRemovesItAndAllOlderOnesAndKeepsItAsThePublished)
{
  for (const int counter : {3, 5, 7}) {
    add(store_, counter, counter);
  }
  EXPECT_EQ(store_.takeNumbered(out_, 4), unusable);
  EXPECT_TRUE(out_.empty());
  EXPECT_EQ(store_.takeNumbered(out_, 5), done);
  EXPECT_NE(store_.dump().find("Framelets size: 1, published: 1 "), std::string::npos) << store_.dump();
  EXPECT_EQ(store_.takeNumbered(out_, 7), done);
  EXPECT_NE(store_.dump().find("Framelets size: 0, published: 1 "), std::string::npos) << store_.dump();
  ASSERT_EQ(out_.size(), 2U);
  EXPECT_EQ(out_[0].frameNumber, 5);
  EXPECT_EQ(out_[1].frameNumber, 7);
}

TEST_F(NumberedAccess, ANoticeForOthersChangesNothing)
{
  store_.setModule(1);
  add(store_, 1, 100);
  const std::string before = store_.report() + store_.dump();
  EXPECT_EQ(store_.addRepeat(notice(9, 50, 0xFFFD)), done);
  EXPECT_EQ(store_.report() + store_.dump(), before);
  add(store_, 2, 150);
  EXPECT_EQ(newest(store_).timeStamp, 150U) << "the notice's clock of 50 was not noted";
}

TEST_F(NumberedAccess, ANoticeRepeatsZeroesThenTheNewestThenThePublished)
{
  store_.setModule(9);
  EXPECT_EQ(store_.addRepeat(notice(1, 100, 1 << 9)), done);
  Framelet frame = newest(store_);
  EXPECT_EQ(frame.module, 9);
  EXPECT_EQ(frame.frameNumber, 1);
  EXPECT_EQ(frame.timeStamp, 100U);
  EXPECT_EQ(frame.samples, std::vector<std::uint16_t>(240));

  add(store_, 2, 200, 0x22);
  store_.addRepeat(notice(3, 300, 1 << 9));
  EXPECT_EQ(store_.frameletCount(), 2U) << "the newest stays where it is";
  frame = newest(store_);
  EXPECT_EQ(frame.frameNumber, 3);
  EXPECT_EQ(frame.samples, std::vector<std::uint16_t>(17, 0x2222));

  add(store_, 4, 400, 0x44);
  store_.takeNumbered(out_, 4);
  store_.addRepeat(notice(5, 500, 1 << 9));
  EXPECT_NE(store_.dump().find("published: 0 "), std::string::npos);
  EXPECT_EQ(newest(store_).samples, std::vector<std::uint16_t>(17, 0x4444));
}

TEST_F(NumberedAccess, ANoticeLeavesTheFrameInAssemblyAloneAndAlwaysCountsWithEightBits)
{
  store_.setModule(0);
  store_.setPacketFormat(0);
  store_.addPacket(packet({0xE0, 0x02, 0x00, 0x64}, 0x11));
  store_.addRepeat(notice(3, 200, 1));
  EXPECT_EQ(newest(store_).frameNumber, 259);
  EXPECT_EQ(store_.addPacket(packet({0x01, 0x00}, 0x11)), done);
  EXPECT_EQ(newest(store_).samples, std::vector<std::uint16_t>(17, 0x1111));
}

TEST_F(NumberedAccess, AModuleIndexBeyondTheMaskIsInNoMask)
{
  store_.setModule(16);
  EXPECT_EQ(store_.addRepeat(notice(1, 100, 0xFFFF)), done);
  EXPECT_EQ(store_.frameletCount(), 0U);
}

TEST_F(NumberedAccess, TheReportListsSamplesAndTheMeanTimeBetweenFrames)
{
  store_.setModule(1);
  EXPECT_EQ(store_.report(), "Framelets in packet store 1\nAverage time between frames: 0 ms\n");
  add(store_, 1, 1000, 0x01);
  add(store_, 2, 1250, 0xFF);
  add(store_, 3, 1505);
  const std::string report = store_.report();
  EXPECT_TRUE(report.starts_with("Framelets in packet store 1\n1, 1000: 257 257 ")) << report;
  EXPECT_NE(report.find(" 257\n2, 1250: 65535 "), std::string::npos) << report;
  EXPECT_TRUE(report.ends_with(" 0 0\nAverage time between frames: 25.25 ms\n")) << report;
}

}  // namespace
