// The life cycle of the hardware object: settings, configure with all its messages, end.

#include <thread>

#include "shared/Parameter.h"
#include "tests/core/CoreFixture.h"

namespace {

using simulator::Step;

TEST_F(CoreTest, TheSettingsAreCopiedAndCleaned)
{
  settings::current.fileVersion = L"of another file";
  make(
      "TesselElementCount\t40\nTesselAuxCount\t2\nTesselNumBleModules\t2\nTesselExecDelay\t7\n"
      "TesselSerialNumber\t5 0 1 65534 65535 -3\n");
  EXPECT_EQ(settings::current.fileVersion, L"") << "the file has none";
  EXPECT_EQ(tessel_->getNativeSize(), 42U);
  EXPECT_EQ(tessel_->getSize(), 42U);
  EXPECT_EQ(tessel_->elemCount_, 40);
  EXPECT_EQ(tessel_->moduleElemCount_, 20);
  EXPECT_EQ(tessel_->getExecDelay(), 7);
  EXPECT_EQ(tessel_->getMaxValue(), 65535);
  EXPECT_EQ(tessel_->getFixedValue(), 1);
  EXPECT_EQ(tessel_->serialFilter_, (std::vector<std::int32_t>{1, 65534}));
}

TEST_F(CoreTest, OddElementCountsMakeNoRecordOrNoObject)
{
  const struct {
    const char* lines;
    std::uint64_t size;
    std::int32_t elemCount, moduleElemCount;
  } cases[] = {{"", 0, 0, -1},
               {"TesselElementCount\t-5\nTesselAuxCount\t2\n", 0, -2, -5},
               {"TesselElementCount\t10\nTesselAuxCount\t-3\n", 7, 10, 10},
               {"TesselElementCount\t10\nTesselAuxCount\t0\nTesselNumBleModules\t0\n", 10, 10, 0},
               {"TesselElementCount\t-2147483648\nTesselNumBleModules\t-1\n", 0, 0, 0}};
  for (const auto& [lines, size, elemCount, moduleElemCount] : cases) {
    resetSettings();
    make(lines);
    EXPECT_EQ(tessel_->getNativeSize(), size) << lines;
    EXPECT_EQ(tessel_->elemCount_, elemCount) << lines;
    EXPECT_EQ(tessel_->moduleElemCount_, moduleElemCount) << lines;
  }
}

TEST_F(CoreTest, SavedSettingsAreTheObjectsOwn)
{
  make(
      "TesselElementCount\t-1\nTesselSerialNumber\t2 17 70000\nTesselMetaData\t\"left "
      "hand\"\nTesselTimeDivisor\t2.5\n"
      "TesselNumSensors\t1\nTesselNumBleModules\t2\nTesselReadTimeout\t3\nTesselWriteTimeout\t4\nTesselExecDe"
      "lay\t5\n"
      "TesselSkipSensorStartupCheck\t1\n");
  resetSettings();  // another object may have changed them
  const std::wstring saved = folder_.wide() + L"saved";
  EXPECT_TRUE(tessel_->saveParameters(saved.c_str()));
  resetSettings();
  EXPECT_EQ(parameter::readFile(saved), 12);
  EXPECT_EQ(settings::current.elementCount, 0) << "as computed, not as read";
  EXPECT_EQ(settings::current.serialNumber, (std::vector<std::int32_t>{17}));
  EXPECT_EQ(settings::current.metaData, L"left hand");
  EXPECT_EQ(settings::current.timeDivisor, 2.5);
  EXPECT_EQ((std::array{settings::current.numSensors, settings::current.numBleModules,
                        settings::current.readTimeout, settings::current.writeTimeout,
                        settings::current.execDelay}),
            (std::array{1, 2, 3, 4, 5}));
  EXPECT_TRUE(settings::current.skipSensorStartupCheck);
}

TEST_F(CoreTest, FilterAndSensorCheckReachTheLink)
{
  addGlove("KVXGL00017").config.sensorStatus[0] = 1;
  make("TesselElementCount\t125\nTesselSkipSensorStartupCheck\t1\n");
  EXPECT_EQ(tessel_->configure(), 0);
  make("TesselElementCount\t125\nTesselSerialNumber\t1 99\n");
  EXPECT_EQ(tessel_->configure(), -1);
  EXPECT_EQ(tessel_->lastError_, L"Not enough remote BLE modules detected.\nExpected: 1; detected: 0");
}

TEST_F(CoreTest, EachResultHasItsMessage)
{
  make("TesselNumBleModules\t2\n");
  tessel_->configure();  // fails without gloves; the texts need a link
  modules[1].sensorStatus[5] = 248;
  const struct {
    std::int32_t code;
    const wchar_t* message;
  } cases[] = {
      {-1, L"No BLE USB dongle detected.\nPlease insert the BLE USB dongle and retry."},
      {-2, L"The BLE USB dongle is currently being used by another program."},
      {-3,
       L"The BLE USB dongle firmware is out of date.\n"
       L"Please update the BLE USB dongle firmware to version 1.4.2.130 or later."},
      {-4, L"Abandoned connection during program shutdown.\n"},
      {-5, L"Failed to enable notifications from remote module.\n"},
      {20, L"Communication error.\n"},
      {30, L"Not enough remote BLE modules detected.\nExpected: 2; detected: 0"},
      {39, L"Not enough remote BLE modules detected.\nExpected: 2; detected: 9"},
      {40, L"A remote BLE module responded incorrectly.\n"},
      {50, L"The BLE library was signalled to shut down.\n"},
      {60, L"A remote BLE module timed out.\n"},
      {70, L"A remote BLE module's service is unavailable.\n"},
      {80, L"Faulty sensor(s) on Right Glove:\n\n"},
      {81, L"Faulty sensor(s) on Right Glove:\n\nPinky: Busy\n"},
      {82,
       L"Faulty sensor(s) on Invalid Glove:\n\nPalm: Invalid\nThumb: Invalid\nIndex Finger: Invalid\n"
       L"Middle Finger: Invalid\nRing Finger: Invalid\nPinky: Invalid\n"},
      {89, L"Failed to read status for a remote module's sensors.\n"},
      {7, L"Unknown error (code 7) occurred.\n"},
      {-100, L"Unknown error (code -100) occurred.\n"},
      {41, L"Unknown error (code 41) occurred.\n"},
      {90, L"Unknown error (code 90) occurred.\n"},
  };
  for (const auto& [code, message] : cases) {
    EXPECT_EQ(tessel_->openingError(code), message) << code;
  }
}

TEST_F(CoreTest, ConfigureReportsWhatWentWrong)
{
  const std::string settings = "TesselElementCount\t125\nTesselNumSensors\t1\n";
  const auto errorOf = [this](const std::string& lines) {
    make(lines);
    EXPECT_EQ(tessel_->configure(), -1);
    return tessel_->lastError_;
  };
  auto& glove = addGlove("KVXGL00017");
  glove.config.sensorStatus[1] = 249;
  EXPECT_EQ(errorOf(settings), L"Faulty sensor(s) on Glove:\n\nThumb: Absent or not ready\n");
  addGlove("KVXGR00018", 2);
  addGlove("KVXGR00019", 3);
  dongle_.faults.silentAt = {Step::endProcedure};
  EXPECT_EQ(errorOf(settings + "TesselNumBleModules\t2\n"), L"Unhandled exception trying to connect over BLE")
      << "a third glove fails the table's assertion";
}

TEST_F(CoreTest, TheLogRecordsTheObjectsLifeCycle)
{
  log_.setLevel(2);
  addGlove("KVXGL00017");
  make("TesselElementCount\t125\nTesselAuxCount\t3\n");
  tessel_->configure();
  tessel_.reset();
  EXPECT_EQ(log_.entries("Tessel"),
            "Creating Tessel: " + (folder_ / "settings").string() +
                "\nAfter all that, elemCount_ = 125 and auxCount_ = 3\nIn HWTessel::configure()\n"
                "Trying to open BLE sensor\nDone setting up Tessel sensor\n");
}

TEST_F(CoreTest, ConfigureSettlesFor100MsAndClosingEndsTheLinkOnce)
{
  auto& glove = addGlove("KVXGL00017");
  make("TesselElementCount\t125\nTesselNumSensors\t1\n");
  EXPECT_EQ(tessel_->close(), 0) << "nothing to close yet";
  std::int64_t listeningMs = 0;
  when("< 80 05 04 01 00 00 00 12 00", [&] { listeningMs = nowMs(); });
  EXPECT_EQ(tessel_->configure(), 0);
  EXPECT_EQ(nowMs() - listeningMs, 100);
  EXPECT_TRUE(glove.isNotifying());
  EXPECT_EQ(tessel_->close(), 0);
  platform_.clock.advance(std::chrono::milliseconds(20));
  EXPECT_FALSE(glove.isConnected());
  transcript_.clear();
  EXPECT_EQ(tessel_->close(), 0);
  tessel_.reset();
  EXPECT_TRUE(transcript_.empty());
}

TEST_F(CoreTest, ASecondConfigureLeavesNoLinkCurrentAndFails)
{
  auto& glove = addGlove("KVXGL00017");
  for (const bool isFirstGood : {true, false}) {
    glove.config.sensorStatus[0] = isFirstGood ? 0 : 1;
    make("TesselElementCount\t125\n");
    ASSERT_EQ(tessel_->configure(), isFirstGood ? 0 : -1);
    transcript_.clear();
    EXPECT_EQ(tessel_->configure(), -1);
    EXPECT_EQ(currentDevice, nullptr);
    EXPECT_EQ(noted("> "), 0) << "nothing is sent to the dongle";
    EXPECT_EQ(platform_.open.size(), 1U) << "the old link's port is closed";
    glove.config.sensorStatus[0] = 0;
    make("TesselElementCount\t125\n");
    EXPECT_EQ(tessel_->configure(), 0) << "a new object has a link again: " << isFirstGood;
  }
}

TEST_F(CoreTest, TheDestructorThrowsNothingAndClosesThePort)
{
  addGlove("KVXGL00017", 1);
  addGlove("KVXGR00018", 2);
  make("TesselElementCount\t250\nTesselNumBleModules\t2\n");
  ASSERT_EQ(tessel_->configure(), 0);
  when("> 00 06 04 05 00 12", [this] { arriveThirdGlove(); });
  tessel_.reset();
  EXPECT_TRUE(platform_.open.empty());
}

TEST_F(CoreTest, ASignalBeforeConfigureHasBegunHasNoEffect)
{
  addGlove("KVXGL00017");
  make("TesselElementCount\t125\n");
  tessel_->signalShutdown();
  EXPECT_EQ(tessel_->configure(), 0);
}

TEST_F(CoreTest, AShutdownSignalledFromAnotherThreadEndsConfigure)
{
  dongle_.faults.mute = true;
  make("TesselElementCount\t125\n");
  std::thread signaller([this] { tessel_->signalShutdown(); });
  EXPECT_EQ(tessel_->configure(), -1);
  signaller.join();
  const std::wstring& error = tessel_->lastError_;
  EXPECT_TRUE(error.starts_with(L"Abandoned connection") || error.starts_with(L"Not enough"))
      << "by chance, who is first";
}

}  // namespace
