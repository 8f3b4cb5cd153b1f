#include "stream/PacketStore.h"

#include <gtest/gtest.h>

#include "tests/support/Packets.h"

namespace {

constexpr int done = 0, unusable = 5, refused = 10;

class CompactPackets : public testing::Test {
 protected:
  CompactPackets() { store_.setPacketFormat(0); }

  int add(const std::vector<PacketBytes>& frame)
  {
    int result = done;
    for (const PacketBytes& bytes : frame) {
      result = store_.addPacket(bytes);
    }
    return result;
  }

  Framelet take()
  {
    std::vector<Framelet> out;
    EXPECT_EQ(store_.takeFramelet(out, false), done);
    return out.empty() ? Framelet{} : out.front();
  }

  // The frame numbers in the queue, which is emptied.
  std::vector<int> takeNumbers()
  {
    std::vector<Framelet> out;
    while (store_.takeFramelet(out, false) == done) {
    }
    std::vector<int> numbers;
    numbers.reserve(out.size());
    for (const Framelet& framelet : out) {
      numbers.push_back(framelet.frameNumber);
    }
    return numbers;
  }

  PacketStore store_;
};

TEST_F(CompactPackets, AFrameOfThreePacketsByTheByte)
{
  store_.setModule(1);
  EXPECT_EQ(store_.addPacket(packet({0x50, 0x03, 0x12, 0x34, 0x01, 0x02, 0xFF, 0xFE}, 0x11)), done);
  EXPECT_EQ(store_.addPacket(packet({0x01, 0xB0, 0x03, 0x04}, 0x22)), done);
  EXPECT_EQ(store_.frameletCount(), 0U);
  EXPECT_EQ(store_.addPacket(packet({0x02, 0x10, 0x05, 0x06}, 0x33)), done);

  const Framelet frame = take();
  EXPECT_EQ(frame.module, 1);
  EXPECT_EQ(frame.frameNumber, 5);
  EXPECT_EQ(frame.timeStamp, 0x1234U);
  ASSERT_EQ(frame.samples.size(), 26U);
  EXPECT_EQ(frame.samples[0], 258);
  EXPECT_EQ(frame.samples[1], 0xFFFE);
  EXPECT_EQ(frame.samples[7], 0x1111);
  EXPECT_EQ(frame.samples[8], 0x0304);
  EXPECT_EQ(frame.samples[16], 0x2222);
  EXPECT_EQ(frame.samples[17], 0x0506);
  EXPECT_EQ(frame.samples[25], 0x3333);

  EXPECT_EQ(store_.batteryCode(), 0) << "the code comes with the beginning of the next frame";
  store_.addPacket(packet({0x60, 0x03, 0x12, 0x35}));
  EXPECT_EQ(store_.batteryCode(), 27);
}

TEST_F(CompactPackets, FourteenPacketsMake125Samples)
{
  EXPECT_EQ(add(compactFrame(3, 0x1234, 14)), done);
  EXPECT_EQ(store_.dump(),
            " Expecting packet 0 of 13\n Bytestream size: 0 Framelets size: 1, published: 0 completed: 1\n"
            " Framelets: 3\n");
  EXPECT_EQ(take().samples.size(), 125U);
}

TEST_F(CompactPackets, IgnoredBitsDoNotMatter)
{
  store_.addPacket(packet({0x30, 0xF2, 0x00, 0x01}));
  EXPECT_EQ(store_.addPacket(packet({0xF1, 0x0F})), done);
  EXPECT_EQ(take().frameNumber, 3);
}

TEST_F(CompactPackets, ClocksWidenAndARepeatedClockCountsAsAWrap)
{
  struct Case {
    int clock;
    std::uint32_t stamp;
  };
  // The very first clock meets a previous one of 0, so 0 is a repeat there.
  const Case cases[] = {{0, 65536}, {250, 65786}, {65535, 131071}, {0, 131072}, {0, 196608}, {7, 196615}};
  for (const Case& c : cases) {
    add(compactFrame(0, c.clock, 2));
    EXPECT_EQ(take().timeStamp, c.stamp);
  }
}

TEST_F(CompactPackets, ClockWrapsThemselvesWrapAtSixteenBits)
{
  for (int wrap = 0; wrap < 65536; ++wrap) {
    add(compactFrame(0, 0, 2));
  }
  std::vector<Framelet> out;
  while (store_.takeFramelet(out, false) == done) {
  }
  EXPECT_EQ(out[65534].timeStamp, 0xFFFF0000U);
  EXPECT_EQ(out[65535].timeStamp, 0U);
}

TEST_F(CompactPackets, CountersWidenAndARepeatedCounterChangesNothing)
{
  const std::pair<int, int> cases[] = {{14, 14}, {15, 15}, {0, 16}, {1, 17}, {15, 31}, {15, 31}, {14, 46}};
  for (const auto& [counter, number] : cases) {
    add(compactFrame(counter, 0, 2));
    EXPECT_EQ(take().frameNumber, number);
  }
}

TEST_F(CompactPackets, LossAndDoublingCostWholeFrames)
{
  struct Case {
    const char* name;
    int frame;
    int lost;     // index of the packet that does not arrive, -1 for none
    int doubled;  // index of the packet that arrives twice, -1 for none
    std::vector<int> kept;
  };
  // Four frames of five packets, with counters 0 to 3.
  const Case cases[] = {
      {"nothing", 1, -1, -1, {0, 1, 2, 3}},
      {"first packet lost", 1, 0, -1, {0, 2, 3}},
      {"a middle packet lost", 1, 2, -1, {0, 2, 3}},
      {"the last packet lost costs the next frame too", 1, 4, -1, {0, 3}},
      {"first packet doubled", 1, -1, 0, {0, 2, 3}},
      {"a middle packet doubled", 1, -1, 3, {0, 2, 3}},
      {"the last packet doubled falls between the frames", 1, -1, 4, {0, 1, 2, 3}},
  };
  for (const Case& c : cases) {
    PacketStore fresh;
    fresh.setPacketFormat(0);
    store_ = fresh;
    for (int frame = 0; frame < 4; ++frame) {
      const auto packets = compactFrame(frame, 100 * (frame + 1), 5);
      for (int index = 0; index < 5; ++index) {
        const auto& bytes = packets[static_cast<std::size_t>(index)];
        const bool here = frame == c.frame;
        if (!(here && index == c.lost)) store_.addPacket(bytes);
        if (here && index == c.doubled) store_.addPacket(bytes);
      }
    }
    EXPECT_EQ(takeNumbers(), c.kept) << c.name;
  }
}

TEST_F(CompactPackets, EachPacketOutOfSequenceIsRefusedUntilANewFrameBegins)
{
  EXPECT_EQ(store_.addPacket(packet({0x01, 0})), refused);
  const int indexes[] = {0, 1, 3, 4, 0, 0, 0};
  const int results[] = {done, done, refused, refused, done, refused, done};
  for (std::size_t i = 0; i < std::size(indexes); ++i) {
    EXPECT_EQ(store_.addPacket(packet({indexes[i], 6, 0, 1})), results[i]) << i;
  }
}

TEST_F(CompactPackets, CountersOfAFrameWithoutItsFirstPacketDoNotMove)
{
  add(compactFrame(14, 100, 2));
  auto headless = compactFrame(3, 50, 2);
  headless.erase(headless.begin());
  add(headless);
  add(compactFrame(15, 200, 2));
  EXPECT_EQ(takeNumbers(), (std::vector<int>{14, 15}));
}

TEST_F(CompactPackets, FramesOfOnePacketOrNoneNeverForm)
{
  for (const int count : {0, 1}) {
    EXPECT_EQ(store_.addPacket(packet({0x00, count, 0, 1})), done);
    for (int index = 1; index < 16; ++index) {
      EXPECT_EQ(store_.addPacket(packet({index, 0})), done);
    }
    EXPECT_EQ(store_.addPacket(packet({0x00, count, 0, 1})), refused);
  }
  EXPECT_EQ(store_.frameletCount(), 0U);
}

TEST_F(CompactPackets, TheBatteryCodeNeedsBothHalvesOfOneFrame)
{
  const auto frame = [](int low, int high) {
    return std::vector<PacketBytes>{packet({0, 4, 0, 1}), packet({1, low << 4 | 0x0F}),
                                    packet({2, high | 0xEF}), packet({3, 0xFF})};
  };
  const auto codeAfter = [this](const std::vector<PacketBytes>& packets) {
    add(packets);
    store_.addPacket(packet({0, 4, 0, 1}));
    const int code = store_.batteryCode();
    store_.addPacket(packet({9, 0}));
    return code;
  };
  EXPECT_EQ(codeAfter(frame(3, 0x10)), 19);
  EXPECT_EQ(codeAfter(frame(15, 0)), 15);
  auto incomplete = frame(7, 0x10);
  incomplete.back() = packet({8, 0});
  EXPECT_EQ(codeAfter(incomplete), 23) << "halves of a frame that never completes count";
  auto half = frame(1, 0);
  half.resize(2);
  half.push_back(packet({8, 0}));
  EXPECT_EQ(codeAfter(half), 23) << "half a code changes nothing";
  EXPECT_EQ(codeAfter(frame(1, 0)), 1);
}

TEST_F(CompactPackets, TakingCutsAFullerQueueToTwoOnlyWhenAsked)
{
  struct Case {
    int queued;
    bool trim;
    int taken;
    std::size_t left;
  };
  const Case cases[] = {{1, true, 0, 0}, {2, true, 0, 1}, {3, true, 1, 1}, {5, true, 3, 1}, {5, false, 0, 4}};
  for (const Case& c : cases) {
    takeNumbers();
    PacketStore fresh;
    fresh.setPacketFormat(0);
    store_ = fresh;
    for (int counter = 0; counter < c.queued; ++counter) {
      add(compactFrame(counter, counter + 1, 2));
    }
    std::vector<Framelet> out;
    EXPECT_EQ(store_.takeFramelet(out, c.trim), done);
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(out[0].frameNumber, c.taken) << c.queued;
    EXPECT_EQ(store_.frameletCount(), c.left) << c.queued;
  }
  takeNumbers();
  std::vector<Framelet> out(1);
  EXPECT_EQ(store_.takeFramelet(out, true), unusable);
  EXPECT_EQ(out.size(), 1U);
}

class ExtendedPackets : public testing::Test {
 protected:
  ExtendedPackets() { store_.setPacketFormat(1); }

  static PacketBytes first(int counter, int packetCount, int fault = 0)
  {
    return packet({0xFF, 0xC7 | fault << 3, 0, packetCount, 0xFF, counter, 0x34, 0x12, 0x01, 0x02}, 0x11);
  }

  PacketStore store_;
  std::vector<Framelet> out_;
};

TEST_F(ExtendedPackets, AFrameByTheByte)
{
  EXPECT_EQ(store_.addPacket(first(200, 3)), done);
  EXPECT_EQ(store_.addPacket(packet({0xFF, 0xFF, 1, 4, 0x0A, 0x0B, 0x0C, 0x0D}, 0x77)), done);
  EXPECT_EQ(store_.addPacket(packet({0xFF, 0xFF, 2, 2, 0x0E, 0x0F}, 0x77)), done);
  ASSERT_EQ(store_.takeFramelet(out_, false), done);
  EXPECT_EQ(out_[0].module, 42) << "until an index is set";
  EXPECT_EQ(out_[0].frameNumber, 200);
  EXPECT_EQ(out_[0].timeStamp, 0x1234U);
  EXPECT_EQ(out_[0].samples, (std::vector<std::uint16_t>{258, 0x1111, 0x1111, 0x1111, 0x1111, 0x1111, 0x0A0B,
                                                         0x0C0D, 0x0E0F}));
}

TEST_F(ExtendedPackets, TheCounterIsWidenedByItsEightBits)
{
  for (const auto& [counter, number] : {std::pair(255, 255), std::pair(0, 256), std::pair(1, 257)}) {
    store_.addPacket(first(counter, 2));
    store_.addPacket(packet({0, 0, 1, 0}));
    ASSERT_EQ(store_.takeFramelet(out_, false), done);
    EXPECT_EQ(out_.back().frameNumber, number);
  }
}

TEST_F(ExtendedPackets, GoingBackToThemDoesNotRestoreTheWidthOfTheCounter)
{
  store_.setPacketFormat(0);
  store_.setPacketFormat(1);
  for (const int counter : {255, 0}) {
    store_.addPacket(first(counter, 2));
    store_.addPacket(packet({0, 0, 1, 0}));
  }
  store_.takeFramelet(out_, false);
  store_.takeFramelet(out_, false);
  EXPECT_EQ(out_.back().frameNumber, 16);
}

TEST_F(ExtendedPackets, AFaultOrHalfASampleThrowsTheCompleteFrameAway)
{
  store_.addPacket(first(1, 2, 5));
  EXPECT_EQ(store_.addPacket(packet({0, 0, 1, 2})), refused);
  store_.addPacket(first(2, 2));
  EXPECT_EQ(store_.addPacket(packet({0, 0, 1, 3})), unusable);
  EXPECT_EQ(store_.frameletCount(), 0U);
  EXPECT_NE(store_.dump().find("completed: 2\n"), std::string::npos);
}

TEST_F(ExtendedPackets, APayloadLongerThanThePacketRunsOnAndEndsInZeroes)
{
  const std::vector<std::uint8_t> behind{0x51, 0x52, 0x53, 0x54};
  struct Case {
    int length;
    std::vector<std::uint16_t> last;  // the samples behind those of the packet
  };
  const Case cases[] = {{16, {}}, {18, {0x5152}}, {20, {0x5152, 0x5354}}, {24, {0x5152, 0x5354, 0, 0}}};
  for (const Case& c : cases) {
    // Exactly as many bytes in memory as may be read, so that a sanitizer sees a step too far.
    const auto readable = std::make_unique<std::uint8_t[]>(behind.size());
    std::copy(behind.begin(), behind.end(), readable.get());
    store_.addPacket(first(0, 2));
    ASSERT_EQ(store_.addPacket(packet({0, 0, 1, c.length}, 0x22), {readable.get(), behind.size()}), done);
    ASSERT_EQ(store_.takeFramelet(out_, false), done);
    const auto& samples = out_.back().samples;
    ASSERT_EQ(samples.size(), 6 + static_cast<std::size_t>(c.length) / 2);
    EXPECT_EQ(samples[13], 0x2222);
    EXPECT_EQ(std::vector<std::uint16_t>(samples.begin() + 14, samples.end()), c.last);
  }
  store_.addPacket(first(0, 2));
  EXPECT_EQ(store_.addPacket(packet({0, 0, 1, 255})), unusable) << "12 + 255 bytes";
}

TEST(Stores, ThereIsOneForEachModule)
{
  EXPECT_EQ(stores.size(), MAX_DEVICES);
  EXPECT_EQ(stores[1].frameletCount(), 0U);
}

}  // namespace
