// Simulated gloves stream through the link: compares the fetched frames with those sent.

#include "tests/link/LinkFixture.h"

namespace {

using simulator::PacketFault;
using simulator::SentFrame;

class StreamTest : public DongleTest {
 protected:
  simulator::Glove& addRecordedGlove(const std::string& name, std::uint8_t address)
  {
    simulator::Glove& glove = addGlove(name, address);
    glove.onFrame = [&sent = sent_[&glove]](const SentFrame& frame) { sent.push_back(frame); };
    return glove;
  }

  // Polls and fetches as a host does, until this moment of link time.
  std::vector<std::vector<Framelet>> streamUntil(std::int64_t endMs, std::int32_t sensorCount)
  {
    std::vector<std::vector<Framelet>> sets;
    while (nowMs() < endMs) {
      std::vector<Framelet> frames;
      std::uint64_t backlog = 0;
      if (!device_.poll()) break;
      if (device_.fetchFrame(frames, sensorCount, backlog)) sets.push_back(frames);
    }
    return sets;
  }

  std::map<const simulator::Glove*, std::vector<SentFrame>> sent_;
};

TEST_F(StreamTest, AMinuteOfTwoGlovesArrivesComplete)
{
  const auto& left = addRecordedGlove("KVXGL00001", 1);
  const auto& right = addRecordedGlove("KVXGR00002", 2);
  ASSERT_EQ(device_.open(2, {}, false), OpeningResult::done);
  const auto sets = streamUntil(60'000, 2);
  EXPECT_GT(sets.size(), 2350U);
  for (std::size_t index = 0; index < sets.size(); ++index) {
    const std::array gloves{&left, &right};
    for (std::size_t side = 0; side < gloves.size(); ++side) {
      // A queue is trimmed when the other glove started later, so the frame number identifies the frame.
      const Framelet& frame = sets[index][side];
      const SentFrame& sent = sent_[gloves[side]].at(static_cast<std::size_t>(frame.frameNumber));
      ASSERT_EQ(frame.samples, sent.samples) << index;
      ASSERT_EQ(frame.timeStamp, sent.ticks) << index;
      ASSERT_EQ(frame.module, side);
      if (index == 0) continue;
      ASSERT_EQ(frame.frameNumber, sets[index - 1][side].frameNumber + 1);
    }
  }
}

TEST_F(StreamTest, ALossCostsTheFramesThatItAffects)
{
  constexpr std::uint64_t packets = 14;
  constexpr std::uint64_t hit = 5;  // the frame with the fault
  const struct {
    const char* name;
    PacketFault fault;
    std::uint64_t packet;
    std::vector<std::int32_t> missing;
  } cases[] = {
      {"first packet lost", PacketFault::lost, 0, {5}},
      {"packet lost in the middle", PacketFault::lost, 7, {5}},
      {"last packet lost, and the next frame with it", PacketFault::lost, 13, {5, 6}},
      {"first packet doubled", PacketFault::doubled, 0, {5}},
      {"packet doubled in the middle", PacketFault::doubled, 7, {5}},
      {"last packet doubled does no harm", PacketFault::doubled, 13, {}},
      {"packets swapped", PacketFault::swapped, 7, {5}},
      {"packets of two frames swapped", PacketFault::swapped, 13, {5, 6}},
  };
  simulator::Glove& glove = addRecordedGlove("KVXGL00001", 1);
  ASSERT_EQ(device_.open(1, {}, false), OpeningResult::done);
  streamUntil(nowMs() + 1000, 1);
  for (const auto& row : cases) {
    const auto begin = static_cast<std::int32_t>(sent_[&glove].size());
    // Includes packets of the previous frame that are sampled but not yet sent.
    std::uint64_t asked = 0;
    bool began = false;
    glove.faults.packetFault = [&](std::uint64_t number) {
      began = began || number % packets == 0;
      return began && asked++ == hit * packets + row.packet ? row.fault : PacketFault::none;
    };
    const auto sets = streamUntil(nowMs() + 500, 1);
    glove.faults.packetFault = nullptr;
    std::vector<std::int32_t> lost;
    for (std::size_t index = 1; index < sets.size(); ++index) {
      for (auto number = sets[index - 1][0].frameNumber + 1; number < sets[index][0].frameNumber; ++number) {
        lost.push_back(number - begin);
      }
    }
    EXPECT_EQ(lost, row.missing) << row.name;
  }
}

TEST_F(StreamTest, ADisconnectedGloveIsOnlySilent)
{
  auto& left = addRecordedGlove("KVXGL00001", 1);
  auto& right = addRecordedGlove("KVXGR00002", 2);
  ASSERT_EQ(device_.open(2, {}, false), OpeningResult::done);
  ASSERT_GT(streamUntil(nowMs() + 1000, 2).size(), 30U);
  dongle_.drop(left, 0x0208);
  streamUntil(nowMs() + 100, 2);
  EXPECT_EQ(modules[0].state, ConnectionState::listening_measurements);
  EXPECT_TRUE(streamUntil(nowMs() + 1000, 2).empty());
  EXPECT_TRUE(device_.poll()) << "the other glove goes on";
  dongle_.drop(right, 0x0208);
  const std::int64_t before = nowMs();
  streamUntil(before + 10'000, 2);
  EXPECT_NEAR(static_cast<double>(nowMs() - before), 2000, 60);
}

}  // namespace
