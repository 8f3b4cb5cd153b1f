#include "stream/PacketStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/support/Packets.h"

namespace {

using enum PacketStore::Result;

// The published values.
static_assert(static_cast<int>(done) == 0 && static_cast<int>(unusable) == 5 &&
              static_cast<int>(refused) == 10);

class CompactPackets : public testing::Test {
 protected:
  CompactPackets() { store_.setPacketFormat(0); }

  void add(const std::vector<PacketBytes>& frame)
  {
    for (const PacketBytes& bytes : frame) {
      store_.addPacket(bytes);
    }
  }

  // The only framelet in the queue.
  Framelet take()
  {
    std::vector<Framelet> out;
    EXPECT_EQ(store_.takeFramelet(out, false), done);
    EXPECT_EQ(store_.frameletCount(), 0U);
    return out.empty() ? Framelet{} : out.front();
  }

  PacketStore store_;
};

TEST_F(CompactPackets, AFrameByteByByteWithIgnoredBitsSet)
{
  store_.setModule(1);
  EXPECT_EQ(store_.addPacket(packet({0x50, 0xF3, 0x12, 0x34, 0x01, 0x02, 0xFF, 0xFE}, 0x11)), done);
  EXPECT_EQ(store_.addPacket(packet({0xF1, 0xBF, 0x03, 0x04}, 0x22)), done);
  EXPECT_EQ(store_.frameletCount(), 0U);
  EXPECT_EQ(store_.addPacket(packet({0xE2, 0xFF, 0x05, 0x06}, 0x33)), done);

  const Framelet frame = take();
  EXPECT_EQ(frame.module, 1);
  EXPECT_EQ(frame.frameNumber, 5);
  EXPECT_EQ(frame.timeStamp, 0x1234U);
  std::vector<std::uint16_t> samples{0x0102, 0xFFFE, 0x1111, 0x1111, 0x1111, 0x1111, 0x1111, 0x1111, 0x0304};
  samples.resize(17, 0x2222);
  samples.push_back(0x0506);
  samples.resize(26, 0x3333);
  EXPECT_EQ(frame.samples, samples);

  EXPECT_EQ(store_.batteryCode(), 0) << "the code is updated when the next frame begins";
  store_.addPacket(packet({0x60, 0x03, 0x12, 0x35}));
  EXPECT_EQ(store_.batteryCode(), 27);
}

TEST_F(CompactPackets, ClocksWidenAndARepeatedClockCountsAsAWrap)
{
  // The first clock is compared with 0, so a clock of 0 is a repeat.
  const std::pair<int, std::uint32_t> cases[] = {{0, 65536},  {250, 65786}, {65535, 131071},
                                                 {0, 131072}, {0, 196608},  {7, 196615}};
  for (const auto& [clock, timestamp] : cases) {
    add(compactFrame(0, clock, 2));
    EXPECT_EQ(take().timeStamp, timestamp);
  }
  for (int wrap = 3; wrap < 65536; ++wrap) {
    add(compactFrame(0, 0, 2));
    EXPECT_EQ(take().timeStamp >> 16, (wrap + 1) % 65536) << "the wraps wrap themselves";
  }
}

TEST_F(CompactPackets, CountersWidenAndARepeatedCounterChangesNothing)
{
  for (const auto& [counter, number] :
       {std::pair(14, 14), std::pair(15, 15), std::pair(0, 16), std::pair(1, 17), std::pair(15, 31),
        std::pair(15, 31), std::pair(14, 46)}) {
    add(compactFrame(counter, 0, 2));
    EXPECT_EQ(take().frameNumber, number);
  }
}

TEST_F(CompactPackets, LossAndDoublingCostWholeFrames)
{
  // In which order the packets of four frames come; those of the second are 5 to 9.
  const struct {
    const char* name;
    std::vector<int> second;
    const char* kept;
  } cases[] = {
      {"nothing", {5, 6, 7, 8, 9}, "0 1 2 3"},
      {"first packet lost", {6, 7, 8, 9}, "0 2 3"},
      {"a middle packet lost", {5, 6, 8, 9}, "0 2 3"},
      {"the last packet lost costs the next frame too", {5, 6, 7, 8}, "0 3"},
      {"first packet doubled", {5, 5, 6, 7, 8, 9}, "0 2 3"},
      {"a middle packet doubled", {5, 6, 7, 8, 8, 9}, "0 2 3"},
      {"the last packet doubled falls between the frames", {5, 6, 7, 8, 9, 9}, "0 1 2 3"},
      {"packets swapped", {5, 7, 6, 8, 9}, "0 2 3"},
      {"packets of two frames swapped", {5, 6, 7, 8, 10, 9}, "0 3"},
  };
  for (const auto& [name, second, kept] : cases) {
    PacketStore store;
    store.setPacketFormat(0);
    std::vector<int> order{0, 1, 2, 3, 4};
    order.insert(order.end(), second.begin(), second.end());
    for (int next = std::max(10, *std::ranges::max_element(second) + 1); next < 20; ++next) {
      order.push_back(next);
    }
    for (const int number : order) {
      store.addPacket(compactFrame(number / 5, 0, 5)[static_cast<std::size_t>(number % 5)]);
    }
    EXPECT_TRUE(store.dump().ends_with(std::string("Framelets: ") + kept + "\n")) << name << store.dump();
  }
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

TEST_F(CompactPackets, TheBatteryCodeNeedsBothHalvesOfOneFrameEvenAnIncompleteOne)
{
  const auto codeAfter = [this](std::initializer_list<PacketBytes> halves) {
    store_.addPacket(packet({0, 4, 0, 1}));
    add(halves);
    store_.addPacket(packet({9, 0}));
    store_.addPacket(packet({0, 4, 0, 1}));
    const int code = store_.batteryCode();
    store_.addPacket(packet({9, 0}));
    return code;
  };
  EXPECT_EQ(codeAfter({packet({1, 0x3F}), packet({2, 0xFF})}), 19);
  EXPECT_EQ(codeAfter({packet({1, 0x10})}), 19);
  EXPECT_EQ(codeAfter({packet({1, 0xF0}), packet({2, 0xEF})}), 15);
}

TEST_F(CompactPackets, TakingTrimsTheQueueToTwoOnlyOnRequest)
{
  for (int counter = 0; counter < 9; ++counter) {
    add(compactFrame(counter, counter, 2));
  }
  std::vector<Framelet> out;
  for (const auto& [trim, taken, left] :
       {std::tuple(false, 0, 8U), std::tuple(true, 7, 1U), std::tuple(true, 8, 0U)}) {
    EXPECT_EQ(store_.takeFramelet(out, trim), done);
    EXPECT_EQ(out.back().frameNumber, taken);
    EXPECT_EQ(store_.frameletCount(), left);
  }
  EXPECT_EQ(store_.takeFramelet(out, true), unusable);
  EXPECT_EQ(out.size(), 3U);
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

TEST_F(ExtendedPackets, AFrameByteByByte)
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

TEST_F(ExtendedPackets, TheCounterIsWidenedByEightBitsUntilTheStoreWasOnceCompact)
{
  for (const int after255 : {256, 16}) {
    for (const int counter : {255, 0}) {
      store_.addPacket(first(counter, 2));
      store_.addPacket(packet({0, 0, 1, 0}));
      store_.takeFramelet(out_, false);
    }
    EXPECT_EQ(out_.back().frameNumber, after255);
    store_ = PacketStore();
    store_.setPacketFormat(0);
    store_.setPacketFormat(1);
  }
}

TEST_F(ExtendedPackets, AFaultOrHalfASampleDiscardsTheCompleteFrame)
{
  store_.addPacket(first(1, 2, 5));
  EXPECT_EQ(store_.addPacket(packet({0, 0, 1, 2})), refused);
  store_.addPacket(first(2, 2));
  EXPECT_EQ(store_.addPacket(packet({0, 0, 1, 3})), unusable);
  EXPECT_NE(store_.dump().find("Framelets size: 0, published: 0 completed: 2\n"), std::string::npos);
}

TEST_F(ExtendedPackets, APayloadLongerThanThePacketContinuesBehindItAndEndsInZeros)
{
  // Exactly as many bytes as may be read, so that a sanitizer detects an overrun.
  const std::unique_ptr<std::uint8_t[]> following(new std::uint8_t[4]{0x51, 0x52, 0x53, 0x54});
  const std::vector<std::uint16_t> ends{0x5152, 0x5354, 0, 0};
  for (const std::size_t more : {0U, 1U, 2U, 4U}) {
    store_.addPacket(first(0, 2));
    const PacketBytes later = packet({0, 0, 1, static_cast<int>(16 + 2 * more)}, 0x22);
    ASSERT_EQ(store_.addPacket(later, {following.get(), 4}), done);
    ASSERT_EQ(store_.takeFramelet(out_, false), done);
    const auto& samples = out_.back().samples;
    ASSERT_EQ(samples.size(), 14 + more);
    EXPECT_EQ(samples[13], 0x2222);
    EXPECT_TRUE(std::equal(samples.begin() + 14, samples.end(), ends.begin()));
  }
}

}  // namespace
