// Random packets: invariants that must hold after every packet.

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "stream/PacketStore.h"
#include "tests/support/Packets.h"

namespace {

struct State {
  unsigned expected = 0;
  int last = 0;
  std::size_t bytestream = 0, framelets = 0;
  int completed = 0;
};

State stateOf(const PacketStore& store)
{
  State state;
  const int fields = std::sscanf(
      store.dump().c_str(),
      " Expecting packet %u of %d Bytestream size: %zu Framelets size: %zu, published: 0 completed: %d",
      &state.expected, &state.last, &state.bytestream, &state.framelets, &state.completed);
  EXPECT_EQ(fields, 5);
  return state;
}

class RandomPackets : public testing::TestWithParam<std::uint32_t> {
 protected:
  std::mt19937 random_{20261121};

  int upTo(int most) { return std::uniform_int_distribution<>(0, most)(random_); }

  // Usually the packet that a glove would send next, sometimes random bytes.
  PacketBytes nextPacket(bool isCompact, unsigned expected)
  {
    PacketBytes bytes;
    for (auto& byte : bytes) {
      byte = static_cast<std::uint8_t>(upTo(255));
    }
    if (upTo(9) == 0) return bytes;
    const std::size_t indexByte = isCompact ? 0 : 2;
    const std::size_t countByte = isCompact ? 1 : 3;
    bytes[indexByte] = static_cast<std::uint8_t>(expected);
    if (expected == 0) bytes[countByte] = static_cast<std::uint8_t>(upTo(6));
    return bytes;
  }
};

TEST_P(RandomPackets, KeepTheInvariants)
{
  const bool isCompact = GetParam() == 0;
  PacketStore store;
  store.setPacketFormat(GetParam());
  State before = stateOf(store);
  int frames = 0;
  for (int step = 0; step < 100'000; ++step) {
    const PacketBytes bytes = nextPacket(isCompact, before.expected);
    std::vector<std::uint8_t> following(static_cast<std::size_t>(upTo(30)));
    const PacketStore::Result result = store.addPacket(bytes, following);
    const State after = stateOf(store);
    SCOPED_TRACE("seed 20261121, step " + std::to_string(step) + "\n" + store.dump());

    ASSERT_EQ(after.expected == 0, after.bytestream == 0)
        << "bytes are held exactly while a frame is being assembled";
    const unsigned index = isCompact ? bytes[0] & 0x0FU : bytes[2];
    if (index != before.expected) {
      ASSERT_EQ(std::pair(result, after.expected), std::pair(PacketStore::Result::refused, 0U));
    }
    const bool completes = index == before.expected && index != 0 && static_cast<int>(index) == before.last;
    ASSERT_EQ(after.completed, before.completed + (completes ? 1 : 0));
    const bool queues = completes && result == PacketStore::Result::done;
    ASSERT_EQ(after.framelets, before.framelets + (queues ? 1 : 0));
    if (queues) {
      ++frames;
      std::vector<Framelet> out;
      store.takeFramelet(out, false);
      const std::size_t payload = isCompact ? 18 : bytes[3];
      ASSERT_EQ(out[0].samples.size() * 2, before.bytestream + payload)
          << "a queued frame holds all its samples";
    }
    before = stateOf(store);
  }
  EXPECT_GT(frames, 300) << "too few frames complete for the test to mean anything";
}

INSTANTIATE_TEST_SUITE_P(EachLayout, RandomPackets, testing::Values(0U, 1U),
                         [](const auto& info) { return info.param == 0 ? "Compact" : "Extended"; });

}  // namespace
