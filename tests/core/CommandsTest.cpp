// sendCommand: the reply to each text command, and the command that it queues.

#include "tests/core/CoreFixture.h"
#include "tests/support/GroupingLocale.h"

namespace {

class CommandsTest : public CoreTest {
 protected:
  // The reply, or "-1" and the content of the reply.
  std::wstring answer(const wchar_t* text)
  {
    std::wstring reply = L"untouched";
    const std::int32_t result = tessel_->sendCommand(text, reply);
    return result == 0 ? reply : L"-1 " + reply;
  }

  // Configures an object with a link to two gloves.
  void open()
  {
    make("TesselElementCount\t250\nTesselNumBleModules\t2\n");
    ASSERT_EQ(tessel_->configure(), 0);
  }

  simulator::Glove& left_ = addGlove("KVXGL00017", 1);
  simulator::Glove& right_ = addGlove("KVXGR00018", 2);
};

// One test, because the repeated reply lives as long as the process.
TEST_F(CommandsTest, AnUnknownCommandRepeatsTheLatestReplyOfTheProcess)
{
  make("");
  EXPECT_EQ(answer(L"AutoTune"), L"-1 untouched") << "no link, and no reply yet";
  EXPECT_EQ(answer(L"nonsense"), L"-1 untouched");
  EXPECT_EQ(answer(L""), L"-1 untouched");
  EXPECT_EQ(answer(L"SensorSelect"), L"-1 Not enough parameters");
  EXPECT_EQ(answer(L"SetSerialNumber,1"), L"-1 Not enough parameters");
  EXPECT_EQ(answer(L"SensorSelect 1"), L"-1 untouched");
  EXPECT_EQ(answer(L"BatteryLevel"), L"0") << "without a link";
  EXPECT_EQ(answer(L"nonsense"), L"0");
  EXPECT_EQ(answer(L"SetSerialNumber,0,5"), L"0");
  open();
  EXPECT_EQ(answer(L"Identify"), L"FingerMapper");
  EXPECT_EQ(answer(L"identify"), L"FingerMapper")
      << "commands are case-sensitive, so this is the previous reply";
  EXPECT_EQ(answer(L"SensorSelect"), L"-1 Not enough parameters");
  EXPECT_EQ(answer(L""), L"FingerMapper") << "a failure is not repeated";
  EXPECT_EQ(answer(L"GetModuleMap"), L"2:KVXGL00017:KVXGR00018");
  EXPECT_TRUE(answer(L"  GetFirmwareVersion and more").starts_with(L"PN4711R5"));
  foundCount = 0;
  EXPECT_EQ(answer(L"GetModuleMap"), L"0");
  EXPECT_EQ(answer(L"GetFirmwareVersion"), L"-1 untouched") << "an empty reply is none";
}

TEST_F(CommandsTest, RepliesAndArgumentsDoNotDependOnTheLocale)
{
  const GroupingLocale grouping;
  left_.config.batteryCode = right_.config.batteryCode = 18;
  open();
  install();
  while (tessel_->bleDevice_.load()->batteryCode() == 0) {
    ASSERT_EQ(tessel_->readRecord(), 0);
  }
  EXPECT_EQ(answer(L"BatteryLevel"), L"0.875");
  EXPECT_EQ(answer(L"SetSerialNumber,0,12345"), L"OK");
  tessel_->readRecord();
  platform_.clock.advance(std::chrono::milliseconds(50));
  EXPECT_EQ(left_.commands(), (std::vector<std::vector<std::uint8_t>>{{114, 254, 0x39, 0x30}}));
}

TEST_F(CommandsTest, EachReadSendsOneCommandToItsModule)
{
  open();
  install();
  const struct {
    const wchar_t* text;
    bool isRight;
    const char* value;  // empty: nothing is queued
  } cases[] = {{L"AutoTune", false, "40 FE"},
               {L"SequentialScan now", false, "34 FE"},
               {L"StopSequential", false, "35 FE"},
               {L"SensorSelect 1", false, "B1 FE"},
               {L"SensorSelect 2 3", false, "B2 FE"},
               {L"SensorSelect 0", false, "B0 FE"},
               {L"SensorSelect  2", false, "B0 FE"},
               {L"SetSerialNumber,1,4660", true, "72 FE 34 12"},
               {L"SetSerialNumber,0,65535,9", false, "72 FE FF FF"},
               {L"SetSerialNumber,256, 17", false, "72 FE 11 00"},
               {L"SetSerialNumber,x,70000", false, "72 FE FF FF"},
               {L"SetSerialNumber,0,x", false, "72 FE 00 00"},
               {L"SetSerialNumber,300,5", false, ""},
               {L"SetSerialNumber 1 5", false, ""}};
  for (const auto& [text, isRight, value] : cases) {
    auto& target = isRight ? right_ : left_;
    const std::size_t before = left_.commands().size() + right_.commands().size();
    EXPECT_EQ(answer(text), L"OK");
    tessel_->readRecord();
    for (int read = 0; read < 300; ++read) {  // the follow-up must be complete before the next command
      tessel_->readRecord();
    }
    const bool isQueued = *value != '\0';
    ASSERT_EQ(left_.commands().size() + right_.commands().size() - before, isQueued ? 1U : 0U)
        << testing::PrintToString(std::wstring(text));
    if (!isQueued) continue;
    EXPECT_EQ(toHex(target.commands().back()), value);
  }
}

TEST_F(CommandsTest, TheBatteryHasEightSteps)
{
  const struct {
    std::uint8_t code;
    const wchar_t* level;
  } cases[] = {{19, L"1"},    {18, L"0.875"}, {17, L"0.75"}, {16, L"0.625"}, {15, L"0.5"}, {14, L"0.375"},
               {13, L"0.25"}, {12, L"0.125"}, {11, L"0"},    {0, L"0"},      {20, L"0"},   {31, L"0"}};
  make("");
  port_.present = false;
  tessel_->configure();  // fails, but creates a link
  for (const auto& [code, level] : cases) {
    stores[0] = {};
    stores[0].setPacketFormat(0);
    for (const std::array<std::uint8_t, 3> begin : {std::array<std::uint8_t, 3>{0, 3, 0},
                                                    {1, static_cast<std::uint8_t>(code << 4), 0},
                                                    {2, static_cast<std::uint8_t>(code & 0x10), 0},
                                                    {0, 3, 0}}) {
      std::array<std::uint8_t, 20> packet{};
      std::ranges::copy(begin, packet.begin());
      stores[0].addPacket(packet);
    }
    EXPECT_EQ(answer(L"BatteryLevel of all"), level) << int{code};
  }
}

}  // namespace
