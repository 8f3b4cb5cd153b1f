#include "host/capture/GloveSigns.h"

#include <gtest/gtest.h>

#include "tests/support/Packets.h"

namespace {

using namespace std::chrono_literals;

constexpr GloveSigns::Time time = 5s;

const PacketBytes first = packet({0x30, 14, 0, 251}, 0xFF);
const PacketBytes low3 = packet({1, 0x3F}, 0xFF);   // bits 0 to 3
const PacketBytes high0 = packet({2, 0xEF}, 0xFF);  // bit 4
const PacketBytes high1 = packet({2, 0x10});

TEST(BatteryCode, IsThatOfAFrame)
{
  const struct {
    const char* name;
    std::vector<PacketBytes> packets;
    std::optional<std::uint8_t> code;
  } cases[] = {
      {"none in the first packet", {first}, {}},
      {"low", {first, low3, high0}, 3},
      {"high", {first, low3, high1}, 19},
      {"halves of two frames", {low3, first, high1}, {}},
      {"the latest", {first, low3, high1, first, low3, high0}, 3},
      {"the latest whole one", {first, low3, high1, first, packet({1, 0x50})}, 19},
  };
  for (const auto& [name, packets, code] : cases) {
    GloveSigns signs;
    for (const PacketBytes& each : packets)
      signs.add(each, time);
    EXPECT_EQ(signs.batteryCode(), code) << name;
  }
}

TEST(BatteryLevel, HasEightStepsBelowTheTopCode)
{
  EXPECT_EQ(batteryLevel(19), 1);
  EXPECT_EQ(batteryLevel(12), 0.125);
  EXPECT_EQ(batteryLevel(11), 0);
  EXPECT_EQ(batteryLevel(0), 0);
  EXPECT_EQ(batteryLevel(20), std::nullopt) << "the plug-in takes it for an empty one";
}

}  // namespace
