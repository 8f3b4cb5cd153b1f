// The open link: polling, commands, connection interval, fetching, texts and closing.

#include "link/Connection.h"
#include "tests/link/LinkFixture.h"

namespace {

using enum ConnectionState;
using std::chrono::milliseconds;

class PollingTest : public DongleTest {
 protected:
  // Opens both gloves, left and right, listening.
  void open()
  {
    ASSERT_EQ(device_.open(2, {}, false), OpeningResult::done);
    transcript_.clear();
  }

  // Polls until nothing more is sent.
  void pollAll()
  {
    while (!port_.waiting.empty()) {
      device_.poll();
    }
  }

  simulator::Glove& left_ = addGlove("KVXGL00017", 1);
  simulator::Glove& right_ = addGlove("KVXGR00018", 2);
};

TEST_F(PollingTest, APollSendsOneCommandAndNoneOutsideTheTable)
{
  open();
  const Bytes payload{9, 8};
  device_.enqueue(RemoteCommand(0x21, payload, 1, 0x1FE));
  device_.enqueue(RemoteCommand(0x22, 2, 0xFE));
  device_.enqueue(RemoteCommand(0x23, -1, 0xFE));
  device_.enqueue(RemoteCommand(0x24, 0, 0xFE));
  EXPECT_TRUE(device_.poll());
  EXPECT_EQ(right_.commands(), (std::vector<Bytes>{hex("21 FE 09 08")}));
  EXPECT_EQ(left_.commands().size(), 0U);
  const std::int64_t before = nowMs();
  EXPECT_TRUE(device_.poll());
  EXPECT_TRUE(device_.poll());
  EXPECT_EQ(nowMs(), before) << "no half second for a module that is not there";
  EXPECT_TRUE(device_.poll());
  EXPECT_EQ(left_.commands(), (std::vector<Bytes>{hex("24 FE")}));
  pollAll();
  EXPECT_EQ(noted("> 00 03 04 04 00 1A 00"), 1) << "each command is followed up";
  EXPECT_EQ(noted("> 00 03 04 04 01 1A 00"), 1);
  EXPECT_EQ(noted("> "), 6) << "two commands in two writes each, two follow-ups";
}

TEST_F(PollingTest, ACommandTakesHalfASecondAndIsRemovedEvenIfItsWriteFails)
{
  open();
  port_.writeError = 5;
  device_.enqueue(RemoteCommand(0x21, 0, 0xFE));
  const std::int64_t before = nowMs();
  device_.poll();
  EXPECT_EQ(nowMs() - before, 500);
  port_.writeError.reset();
  device_.poll();
  EXPECT_EQ(noted("> 00 06 04 05 00 0E"), 0);
  EXPECT_TRUE(left_.commands().empty());
}

TEST_F(LinkTest, ACommandToAModuleThatIsNotConnectedIsStillWritten)
{
  openPort();
  device_.enqueue(RemoteCommand(0x21, 1, 0xFE));
  device_.poll();
  EXPECT_EQ(toHex(port_.written), "00 06 04 05 FF 00 00 02 21 FE");
}

TEST_F(PollingTest, TheConnectionIntervalChangesBetween25And20Ms)
{
  open();
  const std::int64_t before = nowMs();
  device_.toggleConnectionInterval();
  EXPECT_EQ(nowMs() - before, 100);
  EXPECT_EQ(noted("> 00 09 03 02 00 14 00 14 00 00 00 E8 03"), 1);
  EXPECT_EQ(noted("> 00 09 03 02 01 14 00 14 00 00 00 E8 03"), 1);
  device_.toggleConnectionInterval();
  EXPECT_EQ(noted("> 00 09 03 02 01 10 00 10 00 00 00 E8 03"), 1);
  connectedCount = 0;
  device_.toggleConnectionInterval();
  EXPECT_EQ(intervalToggle, 3U);
}

// Queues frames of 17 samples in a store, the n-th filled with n.
void fill(PacketStore& store, int frames)
{
  store.setPacketFormat(0);
  for (int frame = 1; frame <= frames; ++frame) {
    std::array<std::uint8_t, 20> packet{};
    packet[1] = 2;
    packet[2] = static_cast<std::uint8_t>(frame);
    packet[5] = static_cast<std::uint8_t>(frame);
    store.addPacket(packet);
    packet[0] = 1;
    store.addPacket(packet);
  }
}

TEST_F(PollingTest, AFetchTakesOneFrameOfEachGloveAndTrimsTheLongerQueue)
{
  open();
  const struct {
    int sensorCount, depth0, depth1;
    bool fetched;
    std::uint64_t backlog;
    int taken0, taken1;  // number of the frame, from 1
    std::size_t left0, left1;
    bool toggles;
  } cases[] = {
      {2, 0, 5, false, 0, 0, 0, 0, 5, false}, {2, 5, 0, false, 0, 0, 0, 5, 0, false},
      {2, 1, 1, true, 1, 1, 1, 0, 0, false},  {2, 2, 1, true, 2, 1, 1, 1, 0, false},
      {2, 3, 3, true, 3, 2, 2, 1, 1, false},  {2, 5, 2, true, 5, 4, 1, 1, 1, false},
      {2, 6, 2, true, 6, 5, 1, 1, 1, true},   {2, 2, 6, true, 6, 1, 5, 1, 1, true},
      {2, 5, 1, true, 5, 4, 1, 1, 0, true},   {2, 4, 1, true, 4, 3, 1, 1, 0, false},
      {0, 3, 1, true, 3, 2, 1, 1, 0, false},  {-1, 1, 0, false, 0, 0, 0, 1, 0, false},
      {1, 0, 3, false, 0, 0, 0, 0, 3, false}, {1, 100, 3, true, 100, 1, 0, 99, 3, false},
  };
  for (const auto& row : cases) {
    const std::string name = testing::PrintToString(std::tuple(row.sensorCount, row.depth0, row.depth1));
    stores = {};
    fill(stores[0], row.depth0);
    fill(stores[1], row.depth1);
    const std::uint32_t toggles = intervalToggle;
    std::vector<Framelet> frames;
    std::uint64_t backlog = 77;
    EXPECT_EQ(device_.fetchFrame(frames, row.sensorCount, backlog), row.fetched) << name;
    EXPECT_EQ(backlog, row.backlog) << name;
    std::vector<int> taken;
    taken.reserve(frames.size());
    for (const Framelet& frame : frames) {
      taken.push_back(frame.samples[0]);
    }
    std::vector<int> wanted;
    if (row.taken0 > 0) wanted.push_back(row.taken0);
    if (row.taken1 > 0) wanted.push_back(row.taken1);
    EXPECT_EQ(taken, wanted) << name;
    EXPECT_EQ(stores[0].frameletCount(), row.left0) << name;
    EXPECT_EQ(stores[1].frameletCount(), row.left1) << name;
    EXPECT_EQ(intervalToggle - toggles, row.toggles ? 1U : 0U) << name;
  }
}

TEST_F(PollingTest, TheBatteryCodeIsTheLowerOneOfTheGlovesConnected)
{
  left_.config.batteryCode = 17;
  right_.config.batteryCode = 12;
  open();
  while (stores[0].batteryCode() == 0 || stores[1].batteryCode() == 0) {
    ASSERT_TRUE(device_.poll());
  }
  EXPECT_EQ(device_.batteryCode(), 12);
  connectedCount = 1;
  EXPECT_EQ(device_.batteryCode(), 17);
}

TEST_F(PollingTest, TheTextsListEachModuleFound)
{
  left_.config.buildTime = 0;
  left_.config.commit = 0xABC;
  right_.config.partNumber = 16;
  right_.config.revision = 10;
  right_.config.build = 31;
  right_.config.commit = 0x5EED;
  right_.config.buildTime = 951782400;  // 29 February 2000
  EXPECT_EQ(device_.versionText(), L"");
  EXPECT_EQ(device_.moduleMapText(), L"0");
  open();
  // All numbers of the second module are hexadecimal.
  EXPECT_EQ(device_.versionText(),
            L"PN4711R5:Build 212 from commit abc,PN10Ra  ( 2000-02-29 )  :Build 1f from commit 5eed");
  EXPECT_EQ(device_.moduleMapText(), L"2:KVXGL00017:KVXGR00018");
  EXPECT_EQ(device_.sideText(0), L"Left");
  EXPECT_EQ(device_.sideText(1), L"Right");
  EXPECT_EQ(device_.sideText(2), L"Invalid");
  EXPECT_EQ(device_.identity(), L"FingerMapper");
}

TEST_F(LinkTest, TheSensorStatusHasATextForEachByte)
{
  // 0 is no fault; those that are known begin at 246.
  const wchar_t* const texts[] = {L"Unknown fault",  L"Wrong size",          L"Unexpected data or sync fault",
                                  L"Busy",           L"Absent or not ready", L"Parameter fault",
                                  L"Checksum fault", L"Response fault 2",    L"Response fault 1",
                                  L"Length fault",   L"Command fault"};
  for (int status = 0; status <= 255; ++status) {
    modules[1].sensorStatus[19] = static_cast<std::uint8_t>(status);
    EXPECT_EQ(device_.sensorStatusText(1, 19), status == 0 ? L"OK" : texts[std::max(status - 245, 0)]);
  }
  EXPECT_EQ(device_.sensorStatusText(1, 20), L"OK") << "answers from the state, here disconnected";
  modules[1].state = listening_measurements;
  EXPECT_EQ(device_.sensorStatusText(1, 20), L"Unknown fault");
  EXPECT_EQ(device_.sensorStatusText(1, 21), L"Invalid");
  EXPECT_EQ(device_.sensorStatusText(2, 0), L"Invalid");
}

TEST_F(PollingTest, ClosingStopsNotificationsOnlyWhereTheyRunAndDisconnectsInEachState)
{
  for (std::uint32_t number = 0; number < connectionStateCount; ++number) {
    device_.~BleDevice();
    new (&device_) BleDevice;
    open();
    const auto state = static_cast<ConnectionState>(number);
    modules[0].state = state;
    device_.close();
    EXPECT_EQ(noted("> 00 06 04 05 00 12"), state == listening_measurements ? 1 : 0) << number;
    EXPECT_EQ(noted("> 00 06 04 05 01 12"), 1);
    EXPECT_EQ(noted("> 00 01 03 00 00"), 1) << number;
    EXPECT_EQ(noted("> 00 01 03 00 01"), 1);
    EXPECT_EQ(modules[0].state, disconnected) << "the event that follows the response changes nothing";
    EXPECT_EQ(connectionHandles, (std::array<std::int32_t, 2>{-1, -1}));
    EXPECT_EQ(device_.port(), platform::closedPort);
    EXPECT_EQ(connectedCount, 2);
    EXPECT_FALSE(left_.isNotifying());
  }
}

TEST_F(PollingTest, ClosingAStoppedLinkStopsTheGlovesAndRestoresTheFlag)
{
  open();
  device_.raiseStop();
  device_.close();
  EXPECT_FALSE(left_.isNotifying());
  EXPECT_FALSE(right_.isNotifying());
  EXPECT_TRUE(device_.isStopRaised());
  transcript_.clear();
  device_.close();
  EXPECT_TRUE(transcript_.empty()) << "a second close finds the port closed";
}

TEST_F(LinkTest, ANewDeviceBecomesCurrentAndDestroyingAnyLeavesNone)
{
  modules[1].state = listening_measurements;
  foundCount = connectedCount = wantedCount = 2;
  connectionHandles = {0, 1};
  dongleVerdict = 1;
  intervalToggle = 5;
  serialFilter[0] = 17;
  auto second = std::make_unique<BleDevice>();
  EXPECT_EQ(currentDevice, second.get());
  EXPECT_EQ(modules[1].state, disconnected);
  EXPECT_EQ(foundCount + connectedCount + wantedCount, 0);
  EXPECT_EQ(connectionHandles, (std::array<std::int32_t, 2>{-1, -1}));
  EXPECT_EQ(dongleVerdict, 1);
  EXPECT_EQ(intervalToggle, 5U);
  EXPECT_EQ(serialFilter[0], 17);
  auto third = std::make_unique<BleDevice>();
  second.reset();
  EXPECT_EQ(currentDevice, nullptr) << "though the third one lives";
}

TEST_F(DongleTest, TheLogRecordsSuccessStopAndEnd)
{
  addGlove("KVXGL00001");
  // The log of a device that is stopped at this line of the transcript.
  const auto logOf = [this](const std::string& stopLine) {
    log_.setLevel(2);
    {
      BleDevice device;
      when(stopLine, [&] { device.raiseStop(); });
      std::ignore = device.open(1, {}, false);
      device.close();
    }
    return log_.entries("BleDevice");
  };
  EXPECT_EQ(logOf("never"), "Successfully connected to device.\nDestroying BLE Device.\n");
  for (const char* stopLine : {"> 00 00 00 08", "> 00 01 06 02", "< 00 02 06 04 00 00"}) {
    EXPECT_EQ(logOf(stopLine), "Terminating.\nDestroying BLE Device.\n") << stopLine;
    dongle_.receive(hex("00 00 06 04"));  // ends a scan that is still running
    platform_.clock.advance(milliseconds(10));
  }
}

}  // namespace
