// Opening the link to simulated gloves: every result, every timeout, the order of messages.

#include "link/Connection.h"
#include "serial/Capture.h"
#include "tests/link/LinkFixture.h"

namespace {

using std::chrono::milliseconds;

// Beginnings of transcript lines.
constexpr const char* reset = "> 00 01 00 00";
constexpr const char* getInfo = "> 00 00 00 08";
constexpr const char* discover = "> 00 01 06 02";
constexpr const char* discoverAccepted = "< 00 02 06 02 00 00";
constexpr const char* endProcedure = "> 00 00 06 04";
constexpr const char* procedureEnded = "< 00 02 06 04 00 00";
constexpr const char* connect = "> 00 0F 06 03";
constexpr const char* readVersion = "> 00 03 04 04 00 18 00";
constexpr const char* versionValue = "< 80 15 04 05 00 18 00";

class OpeningTest : public DongleTest {
 public:
  using DongleTest::device_, DongleTest::dongle_, DongleTest::platform_, DongleTest::port_, DongleTest::when;

  // The right glove advertises first, so that the modules have to be swapped.
  simulator::Glove& right_ = addGlove("KVXGR00002", 2);
  simulator::Glove& left_ = addGlove("KVXGL00001", 1);

  void stopAt(const char* line)
  {
    when(line, [this] { device_.raiseStop(); });
  }
  void occupyAt(const char* line, std::int64_t durationMs)
  {
    when(line, [this, durationMs] {
      port_.busy = true;
      platform_.clock.after(milliseconds(durationMs), [this] { port_.busy = false; });
    });
  }

 protected:
  // Milliseconds since the host's last write.
  std::int64_t sinceWriteMs() const
  {
    return nowMs() - std::chrono::duration_cast<milliseconds>(wroteAt_).count();
  }

  OpeningTest()
  {
    port_.onWrite = [this, next = port_.onWrite](std::span<const std::uint8_t> bytes) {
      waits_.push_back(toHex(bytes).substr(0, 11) + " after " + std::to_string(sinceWriteMs()));
      wroteAt_ = platform_.clock.now();
      next(bytes);
    };
  }

  VirtualClock::Duration wroteAt_{0};
  std::vector<std::string> waits_;  // each write with the time in ms since the previous one
};

struct Row {
  const char* name;
  std::int32_t result;
  std::int64_t sinceWriteMs;  // from the last write to the end of the opening
  void (*prepare)(OpeningTest&);
  std::int32_t wanted = 2;
  bool skipSensorCheck = false;
  const char* wait = nullptr;  // a write of the opening, and its time since the previous write
};

// Rows are shown by their names, not by their bytes.
template <class AnyRow>
void PrintTo(const AnyRow& row, std::ostream* stream) requires requires
{
  row.name;
}
{
  *stream << row.name;
}

const auto byName = [](const auto& instance) { return std::string(instance.param.name); };

using simulator::Step;

constexpr std::int64_t any = -1;

// Silence is received in quarters of a timeout, and a wait ends after more than the timeout: 1000 ms of
// complete silence end after five quarters.
const Row rows[] = {
    {"up", 0, 21, [](auto&) {}},
    {"noDongle", -1, 0, [](auto& t) { t.port_.present = false; }},
    {"dongleStaysAway", -1, 3000, [](auto& t) { t.dongle_.faults.staysAway = true; }},
    {"portBusy", -2, 3000, [](auto& t) { t.port_.busy = true; }},
    {"portBusyAfterReset", -2, 3500, [](auto& t) { t.occupyAt(reset, 60000); }},
    {"firmwareTooOld", -3, 1, [](auto& t) { t.dongle_.firmware.build = 129; }},
    {"verdictOfAnEarlierOpening", -3, 0, [](auto&) { dongleVerdict = -1; }},
    {"stopBeforeFirmwareAnswer", -4, 0, [](auto& t) { t.stopAt(getInfo); }},
    {"stopWhileDiscovering", -4, 0, [](auto& t) { t.stopAt(discover); }},
    {"stopWhileReceivingModules", -4, 1, [](auto& t) { t.stopAt(discoverAccepted); }},
    {"stopWhileEndingTheScan", -4, 0, [](auto& t) { t.stopAt(endProcedure); }},
    {"stopAfterTheScan", -4, 1, [](auto& t) { t.stopAt(procedureEnded); }},
    {"stopWhileConnecting", -4, 0, [](auto& t) { t.stopAt(connect); }},
    {"stopWithTheVersionReturns89", 89, 0, [](auto& t) { t.stopAt(versionValue); }},
    {"stopWithTheVersionReturnsMinus5WithoutStatus", -5, 0, [](auto& t) { t.stopAt(versionValue); }, 2, true},
    // The module then counts as revision 0, which has no further waits.
    {"stopBeforeTheVersionIsNotNoticed", 0, 0, [](auto& t) { t.stopAt(readVersion); }},
    {"portFails", 20, 0, [](auto& t) { t.when(connect, [&t] { t.port_.readError = 5; }); }},
    {"portClosed", 20, 0, [](auto& t) { t.when(connect, [&t] { serialClose(t.device_.port()); }); }},
    {"donglePulled", 20, 0, [](auto& t) { t.when(connect, [&t] { t.port_.present = false; }); }},
    {"noModule", 30, 501, [](auto& t) { t.left_.faults.hidden = t.right_.faults.hidden = true; }},
    {"dongleMute", 30, 3500, [](auto& t) { t.dongle_.faults.mute = true; }},
    {"discoveryRefusedThreeTimes", 30, 501, [](auto& t) { t.dongle_.faults.refusedDiscoveries = 3; }},
    {"discoveryRefusedTwice", 0, 21, [](auto& t) { t.dongle_.faults.refusedDiscoveries = 2; }},
    {"discoveryNotAccepted", 30, 3500, [](auto& t) { t.dongle_.faults.silentAt = {Step::discover}; }},
    {"aTruncatedAnswerCostsOneScan", 0, 21,
     [](auto& t) { t.when(endProcedure, [&t] { t.dongle_.cutNext(5); }); }},
    {"oneOfTwoModules", 31, 501, [](auto& t) { t.left_.faults.hidden = true; }},
    {"allFoundButNoScanEnds", 32, 1500, [](auto& t) { t.dongle_.faults.silentAt = {Step::endProcedure}; }},
    {"noConnectResponse", 60, 1250, [](auto& t) { t.left_.faults.silentAt = {Step::connectResponse}; }},
    {"connectRefused", 60, 1001, [](auto& t) { t.dongle_.faults.refusesConnect = true; }},
    {"writeFails", 60, 1250, [](auto& t) { t.when(procedureEnded, [&t] { t.port_.writeError = 5; }); }},
    {"notConnected", 60, 2501, [](auto& t) { t.right_.faults.silentAt = {Step::connection}; }},
    {"sensorFaultLeft", 80, 21, [](auto& t) { t.left_.config.sensorStatus[19] = 248; }},
    {"sensorFaultRight", 81, 21, [](auto& t) { t.right_.config.sensorStatus[0] = 1; }},
    {"sensorFaultIgnored", 0, 21, [](auto& t) { t.left_.config.sensorStatus[0] = 1; }, 2, true},
    {"sensorFaultOfAnOldModuleIgnored", 0, 0,
     [](auto& t) {
       for (auto* glove : {&t.left_, &t.right_}) {
         glove->config.revision = 4;
         glove->config.sensorStatus[0] = 1;
       }
     }},
    {"noStatusResponse", 89, 1250, [](auto& t) { t.left_.faults.silentAt = {Step::statusResponse}; }},
    {"noStatusValue", 89, 1001, [](auto& t) { t.right_.faults.silentAt = {Step::statusValue}; }},
    {"startNotConfirmed", -5, 1001, [](auto& t) { t.left_.faults.silentAt = {Step::startNotifications}; }},
    {"startRefused", -5, 1021, [](auto& t) { t.right_.faults.notificationResult = 0x0403; }},
    {"startNotConfirmedByAnOldModule", 0, 21,
     [](auto& t) {
       t.left_.config.revision = 4;
       t.left_.faults.silentAt = {Step::startNotifications};
     }},
    {"versionDamagedCountsAsOld", 0, 0,
     [](auto& t) {
       t.left_.faults.wrongChecksum = t.right_.faults.wrongChecksum = true;
       t.left_.faults.silentAt = {Step::statusResponse, Step::startNotifications};
     }},
    {"versionSilentCountsAsOld", 0, 21, [](auto& t) { t.left_.faults.silentAt = {Step::versionResponse}; }},
    {"moreThanTwoCountAsTwo", 0, 21, [](auto&) {}, 7},
    {"noneWantedConnectsNone", 0, 1, [](auto&) {}, 0},
    {"endOfTheScanRefused", 32, any, [](auto& t) { t.dongle_.faults.refusesEndProcedure = true; }},
    {"unknownMessageAtTheEndOfTheScan", 0, 21,
     [](auto& t) { t.when(endProcedure, [&t] { t.dongle_.inject(hex("80 00 08 00")); }); }},
    {"thePortOpensAtTheSixthAttempt", 0, any,
     [](auto& t) {
       t.port_.busy = true;
       t.platform_.clock.after(milliseconds(2400), [&t] { t.port_.busy = false; });
     },
     2, false, "00 01 00 00 after 2500"},
    {"theDongleIsBackAtTheSixthAttempt", 0, any, [](auto& t) { t.dongle_.restartTime = milliseconds(2900); },
     2, false, "00 00 00 08 after 3000"},
    {"thePortOpensAtTheSixthAttemptAfterTheReset", 0, any, [](auto& t) { t.occupyAt(reset, 2900); }, 2, false,
     "00 00 00 08 after 3000"},
    {"aDongleWithoutAFirmwareAnswerIsAccepted", 0, any,
     [](auto& t) { t.dongle_.faults.silentAt = {Step::getInfo}; }, 2, false, "00 01 06 02 after 1000"},
    {"anUnknownMessageEndsTheWaitForTheFirmware", 0, any,
     [](auto& t) {
       t.dongle_.faults.silentAt = {Step::getInfo};
       t.when(getInfo, [&t] { t.dongle_.inject(hex("80 00 08 00")); });
     },
     2, false, "00 01 06 02 after 0"},
    {"aVerdictOfAnEarlierOpeningNeedsNoAnswer", 0, any, [](auto&) { dongleVerdict = 1; }, 2, false,
     "00 01 06 02 after 0"},
    {"threeSecondsWithoutModulesEndAScan", 30, any,
     [](auto& t) { t.left_.faults.hidden = t.right_.faults.hidden = true; }, 2, false,
     "00 00 06 04 after 3001"},
    {"threeMessagesEndAScan", 30, any,
     [](auto& t) {
       t.left_.faults.hidden = t.right_.faults.hidden = true;
       t.when(discoverAccepted, [&t] { t.dongle_.inject(hex("80 00 00 06 80 00 00 06 80 00 00 06")); });
     },
     2, false, "00 00 06 04 after 1"},
    {"anIncompleteScanIsRepeatedAfterHalfASecond", 31, any, [](auto& t) { t.left_.faults.hidden = true; }, 2,
     false, "00 01 06 02 after 501"},
    {"theEndOfAScanIsAwaitedFor10000Messages", 32, any,
     [](auto& t) {
       t.dongle_.faults.silentAt = {Step::endProcedure};
       t.when(endProcedure, [&t] {
         for (int count = 0; count < 10000; ++count) {
           t.platform_.clock.after(milliseconds(count), [&t] { t.dongle_.inject(hex("80 00 00 06")); });
         }
       });
     },
     2, false, "00 01 06 02 after 10499"},
    {"aMissingVersionCostsItsTimeout", 0, any,
     [](auto& t) { t.left_.faults.silentAt = {Step::versionResponse}; }, 2, false, "00 06 04 05 after 1250"},
};

class OpeningCode : public OpeningTest, public testing::WithParamInterface<Row> {};

TEST_P(OpeningCode, IsReturnedAfterItsTime)
{
  GetParam().prepare(*this);
  EXPECT_EQ(code(device_.open(GetParam().wanted, {}, GetParam().skipSensorCheck)), GetParam().result);
  if (GetParam().sinceWriteMs != any) {
    // Tolerance for the phase of the connection events.
    EXPECT_NEAR(static_cast<double>(sinceWriteMs()), static_cast<double>(GetParam().sinceWriteMs), 25);
  }
  if (GetParam().wait != nullptr) {
    EXPECT_TRUE(std::ranges::find(waits_, GetParam().wait) != waits_.end()) << testing::PrintToString(waits_);
  }
}

INSTANTIATE_TEST_SUITE_P(All, OpeningCode, testing::ValuesIn(rows), byName);

TEST_F(OpeningTest, AGoodOpeningIsThisDialogue)
{
  ASSERT_EQ(device_.open(2, {}, false), OpeningResult::done);
  std::erase_if(transcript_,
                [](const std::string& line) { return line.starts_with("< 80 19 04 05 00 11 00"); });
  const std::vector<std::string> dialogue{
      "> 00 01 00 00 00",  // system_reset
      "port gone",
      "port back",
      "< 80 0C 00 00 01 00 04 00 02 00 82 00 03 00 01 02",  // boot: 1.4.2.130; purged by the opening
      "> 00 00 00 08",                                      // system_get_info
      "< 00 0C 00 08 01 00 04 00 02 00 82 00 03 00 01 02",
      "> 00 01 06 02 01",  // gap_discover, generic
      "< 00 02 06 02 00 00",
      // scan responses of 02.. KVXGR00002 and 01.. KVXGL00001
      "< 80 1A 06 00 CE 00 02 02 03 04 05 06 00 FF 0F 02 01 06 0B 09 4B 56 58 47 52 30 30 30 30 32",
      "< 80 1A 06 00 CE 00 01 02 03 04 05 06 00 FF 0F 02 01 06 0B 09 4B 56 58 47 4C 30 30 30 30 31",
      "> 00 00 06 04",  // gap_end_procedure
      "< 00 02 06 04 00 00",
      "> 00 0F 06 03 01 02 03 04 05 06 00 08 00 08 00 E8 03 00 00",  // gap_connect_direct, the left glove
                                                                     // first
      "< 00 03 06 03 00 00 00",
      "< 80 10 03 00 00 05 01 02 03 04 05 06 00 08 00 E8 03 00 00 FF",
      "> 00 0F 06 03 02 02 03 04 05 06 00 08 00 08 00 E8 03 00 00",
      "< 00 03 06 03 00 00 01",
      "< 80 10 03 00 01 05 02 02 03 04 05 06 00 08 00 E8 03 00 00 FF",
      "> 00 03 04 04 00 18 00",  // read_by_handle 24: PN4711 R5, build 212
      "< 00 03 04 04 00 00 00",
      "< 80 15 04 05 00 18 00 00 10 85 2D 67 12 05 00 D4 00 34 12 ED 5E 00 E1 0B 5E",
      "> 00 03 04 04 00 16 00",  // read_by_handle 22: 20 good sensors
      "< 00 03 04 04 00 00 00",
      "< 80 19 04 05 00 16 00 00 14 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
      "> 00 06 04 05 00 12 00 02",  // attribute_write 18: 01 00
      "> 01 00",
      "< 00 03 04 05 00 00 00",
      "< 80 05 04 01 00 00 00 12 00",  // procedure_completed 18
      "> 00 03 04 04 01 18 00",        // the same for the right glove
      "< 00 03 04 04 01 00 00",
      "< 80 15 04 05 01 18 00 00 10 85 2D 67 12 05 00 D4 00 34 12 ED 5E 00 E1 0B 5E",
      "> 00 03 04 04 01 16 00",
      "< 00 03 04 04 01 00 00",
      "< 80 19 04 05 01 16 00 00 14 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
      "> 00 06 04 05 01 12 00 02",
      "> 01 00",
      "< 00 03 04 05 01 00 00",
      "< 80 05 04 01 01 00 00 12 00",
  };
  EXPECT_EQ(transcript_, dialogue);
  for (std::size_t index = 0; index < modules.size(); ++index) {
    EXPECT_EQ(modules[index].state, ConnectionState::listening_measurements);
    EXPECT_EQ(connectionHandles[index], static_cast<std::int32_t>(index));
  }
  // Notifications of the first module that arrive while the second is started are kept.
  EXPECT_EQ(stores[0].frameletCount(), 1U);
}

struct OrderRow {
  const char* name;
  std::array<const char*, 2> advertised;
  std::int32_t wanted;
  std::array<const char*, 2> kept;
};

class OpeningOrder : public OpeningTest, public testing::WithParamInterface<OrderRow> {};

TEST_P(OpeningOrder, TheLeftGloveComesFirst)
{
  const auto& [name, advertised, wanted, kept] = GetParam();
  right_.config.name = advertised[0];
  left_.config.name = advertised[1];
  EXPECT_EQ(device_.open(wanted, {}, false), OpeningResult::done);
  for (std::size_t index = 0; index < modules.size(); ++index) {
    const BleModule& module = modules[index];
    EXPECT_EQ(std::string(module.name.data(), static_cast<std::size_t>(module.nameLength)), kept[index]);
  }
  EXPECT_EQ(connectedCount, wanted);
}

const OrderRow orderRows[] = {
    {"leftThenRight", {"KVXGL00001", "KVXGR00002"}, 2, {"KVXGL00001", "KVXGR00002"}},
    {"rightThenLeft", {"KVXGR00001", "KVXGL00002"}, 2, {"KVXGL00002", "KVXGR00001"}},
    {"twoLeft", {"KVXGL00001", "KVXGL00002"}, 2, {"KVXGL00001", "KVXGL00002"}},
    {"twoRightChangePlaces", {"KVXGR00001", "KVXGR00002"}, 2, {"KVXGR00002", "KVXGR00001"}},
    {"oneOfTwo", {"KVXGR00001", "KVXGL00002"}, 1, {"KVXGR00001", ""}},
};

INSTANTIATE_TEST_SUITE_P(All, OpeningOrder, testing::ValuesIn(orderRows), byName);

TEST_F(OpeningTest, TheSerialFilterIsCutToTwoNumbersOf16BitsAndOutlivesTheDevice)
{
  const struct {
    std::vector<std::int32_t> wanted;
    std::array<std::uint16_t, 2> filter;
  } openings[] = {{{2}, {2, noSerialFilter}}, {{0x10002, 7, 1}, {2, 7}}, {{}, {2, 7}}};
  for (const auto& [wanted, filter] : openings) {
    EXPECT_EQ(code(device_.open(2, wanted, false)), 31) << "only the right glove passes";
    EXPECT_EQ(serialFilter, filter);
    device_.close();
    device_.~BleDevice();
    new (&device_) BleDevice;
  }
}

TEST_F(OpeningTest, ACaptureThatCanNotBeOpenedIsLoggedInCharactersThatEveryLocaleHas)
{
  capture::close();  // so that it is tried again, if an earlier test did
  platform_.capturing = true;
  platform_.captureError = "caf\xC3\xA9";
  log_.setLevel(2);
  {
    BleDevice device;
    EXPECT_EQ(device.open(2, {}, false), OpeningResult::done);
    device.close();
  }
  EXPECT_NE(log_.entries("BleDevice").find("caf??\n"), std::string::npos);
  capture::close();
}

TEST_F(OpeningTest, AModuleWithoutACccdReturns70)
{
  modules[0].configHandle = 18;
  modules[0].state = ConnectionState::finish;
  EXPECT_EQ(countModule(0), OpeningResult::notConfigurable);
  modules[1].state = ConnectionState::connected;
  EXPECT_EQ(countModule(1), OpeningResult::notConfigurable);
  EXPECT_EQ(connectedCount, 0);
}

TEST_F(OpeningTest, AScanLeavesNothingInTheReceiveBuffer)
{
  openPort();
  when(procedureEnded, [this] { dongle_.inject(hex("80 00 00 06")); });
  EXPECT_EQ(scanForModules(), ScanResult::done);
  EXPECT_TRUE(port_.waiting.empty());
}

TEST_F(OpeningTest, AStateThatIsAlreadyReachedIsNoticedWithTheNextMessage)
{
  openPort();
  modules[0].state = ConnectionState::connected;
  platform_.clock.after(milliseconds(120), [this] { arrive(hex("80 00 08 00")); });  // unknown: ignored
  platform_.clock.after(milliseconds(480), [this] { arrive(hex("80 00 00 06")); });
  EXPECT_EQ(waitForState(device_, 0, ConnectionState::connected, 1000), OpeningResult::done);
  EXPECT_EQ(nowMs(), 480);
}

TEST_F(OpeningTest, WaitingForAModuleOutsideTheTableIsAnAssertion)
{
#ifdef NDEBUG
  EXPECT_EQ(waitForState(device_, 2, ConnectionState::connected, 1000), OpeningResult::portFailed);
#else
  EXPECT_DEATH(std::ignore = waitForState(device_, 2, ConnectionState::connected, 1000),
               "connection < _countof\\(modules\\)");
#endif
}

}  // namespace
