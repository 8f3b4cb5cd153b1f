// A million random, mutated and truncated messages in every state: no access leaves its buffer (checked by
// the sanitizers), nothing blocks, and all state stays within its bounds.

#include <map>
#include <random>

#include "tests/link/LinkFixture.h"

namespace {

// Messages known to the link, whose connection and values are mutated.
const Bytes known[] = {
    hex("00 0C 00 08 01 00 04 00 02 00 82 00 03 00 01 02"),
    hex("00 03 03 00 00 00 00"),
    hex("00 03 04 01 00 00 00"),
    hex("00 03 04 03 00 00 00"),
    hex("00 03 04 04 00 00 00"),
    hex("00 02 06 02 00 00"),
    hex("00 03 06 03 00 00 00"),
    hex("00 02 06 04 00 00"),
    hex("80 10 03 00 00 05 01 02 03 04 05 06 00 08 00 E8 03 00 00 FF"),
    hex("80 03 03 04 00 08 02"),
    hex("80 05 04 01 00 00 00 12 00"),
    hex("80 16 04 02 00 0d 00 1a 00 10 31 01 9b 5f 80 00 00 80 00 10 00 00 ba cb 03 00"),
    hex("80 06 04 04 00 12 00 02 02 29"),
    hex("80 15 04 05 00 18 00 00 10 85 19 01 00 05 00 03 00 04 00 00 00 05 00 01 06"),
    hex("80 19 04 05 00 16 00 00 14 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
    hex("80 19 04 05 00 11 00 01 14 00 02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
    hex("80 19 04 05 00 11 00 01 14 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
    hex("80 1A 06 00 CE 00 01 02 03 04 05 06 00 FF 0F 02 01 06 0B 09 4B 56 58 47 4C 30 30 30 30 31"),
};

class RandomMessages : public LinkTest {
 protected:
  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }
  std::uint8_t byte() { return static_cast<std::uint8_t>(random_()); }

  Bytes message()
  {
    Bytes bytes;
    if (below(8) == 0) {
      bytes.resize(below(64));
      std::generate(bytes.begin(), bytes.end(), [this] { return byte(); });
      return bytes;
    }
    bytes = known[below(std::size(known))];
    if (bytes.size() > 4 && below(2) == 0) bytes[4] = static_cast<std::uint8_t>(below(4));
    for (std::uint32_t mutations = below(4); mutations > 0; --mutations) {
      bytes[below(static_cast<std::uint32_t>(bytes.size()))] = byte();
    }
    if (below(16) == 0) bytes.resize(below(static_cast<std::uint32_t>(bytes.size())));
    return bytes;
  }

  // Puts the link into a random state.
  void shuffle()
  {
    connectedCount = static_cast<std::int32_t>(below(3));
    foundCount = static_cast<std::int32_t>(below(3));
    wantedCount = static_cast<std::int32_t>(below(3));
    discoveryState = static_cast<DiscoveryState>(below(6));
    serialFilter[0] = below(4) == 0 ? 17 : noSerialFilter;
    for (BleModule& module : modules) {
      module.state = static_cast<ConnectionState>(below(connectionStateCount));
      module.versionHandle = below(2) == 0 ? 24 : 0;
      module.statusHandle = 22;
      module.address[0] = byte();
    }
    for (PacketStore& store : stores) {
      store.setPacketFormat(below(2));
    }
  }

  void expectBounds()
  {
    ASSERT_LE(static_cast<std::uint32_t>(foundCount), 2U);
    ASSERT_LE(static_cast<std::uint32_t>(connectedCount), 2U);
    ASSERT_LE(static_cast<std::uint32_t>(discoveryState), 5U);
    ASSERT_LE(std::abs(dongleVerdict), 1);
    for (const BleModule& module : modules) {
      ASSERT_LE(static_cast<std::uint32_t>(module.nameLength), module.name.size());
      ASSERT_LT(static_cast<std::uint32_t>(module.state), connectionStateCount);
    }
    std::vector<Framelet> frames;
    for (PacketStore& store : stores) {
      while (store.takeFramelet(frames, false) == PacketStore::Result::done) {
        ASSERT_LE(frames.back().samples.size(), 256U * 255 / 2);
        frames.clear();
      }
      ASSERT_LE(static_cast<std::uint32_t>(store.batteryCode()), 31U);
    }
  }

  std::mt19937 random_{20261121};
};

TEST_F(RandomMessages, LeaveTheLinkWithinItsBounds)
{
  constexpr int messages = 1'000'000;
  openPort();
  std::map<ReceiveResult, int> results;
  int refused = 0;
  for (int count = 0; count < messages; ++count) {
    if (count % 8 == 0) shuffle();
    arrive(message());
    while (!port_.waiting.empty()) {
      try {
        ++results[ble_receive_message(1)];
      } catch (const wchar_t*) {
        ++refused;  // a third module
      }
    }
    ASSERT_NO_FATAL_FAILURE(expectBounds()) << "message " << count;
    if (count % 64 == 0) {
      device_.versionText();
      device_.moduleMapText();
      device_.sensorStatusText(1, 20);
      device_.poll();  // empties the list of errors
      port_.written.clear();
    }
  }
  // Every kind of result must occur.
  EXPECT_GT(results[ReceiveResult::handled], messages / 4);
  EXPECT_GT(results[ReceiveResult::nothing], messages / 100);
  EXPECT_GT(results[ReceiveResult::unknown], messages / 100);
  EXPECT_GT(refused, 100);
}

}  // namespace
