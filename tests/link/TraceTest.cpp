#include "link/Trace.h"

#include <gtest/gtest.h>

#include "tests/support/Hex.h"
#include "tests/support/SimulatedPlatform.h"

namespace {

TEST(Trace, ShowsTickAndTextCutTo127Characters)
{
  SimulatedPlatform platform;
  platform.clock.advance(std::chrono::milliseconds(0x1234));
  ble_trace("%d %s", 5, std::string(200, 'x').c_str());
  EXPECT_EQ(platform.debugText, "TESL: [00001234] 5 " + std::string(125, 'x'));
}

TEST(HexDump, DoesNotWriteBeyondTheOutput)
{
  std::array<char, 9> output{"before"};
  EXPECT_STREQ(ble_hex_dump({}, output), "before");
  EXPECT_STREQ(ble_hex_dump(hex("0A FF"), output), "0A FF ");
  EXPECT_STREQ(ble_hex_dump(hex("01 02 03 04"), output), "01 02 ");
}

}  // namespace
