// The built plug-in, loaded as a host loads it, over a real pseudo terminal.

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "shared/PluginLibrary.h"
#include "tests/support/HostLog.h"
#include "tests/support/HostRecord.h"
#include "tests/support/PtyGloves.h"

namespace {

constexpr std::uint32_t hostClock = 5000;

std::uint32_t standingClock()
{
  return hostClock;
}

class Plugin : public testing::Test {
 public:
  Plugin()
  {
    library_->setFolders(&log_.folders);
    library_->setLog(log_.manager.get());
  }

  HwInterface* create()
  {
    const std::wstring file = folder_.write(
        "settings",
        "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\nTesselAuxCount\t1\n");
    return library_->create(file.c_str(), standingClock, L"test");
  }

  TemporaryFolder folder_;
  HostLog log_{2};
  std::optional<plugin::Library> library_{TESSEL_PLUGIN};
};

TEST_F(Plugin, RecordsTwoGlovesFromCreateToRelease)
{
  PtyGloves gloves(folder_ / "dongle");
  EXPECT_STREQ(library_->getName(), L"Tessel");
  HwInterface* const hardware = create();
  ASSERT_EQ(hardware->getNativeSize(), 251U);
  ASSERT_EQ(hardware->configure(), 0) << testing::PrintToString(hardware->lastError_);
  HostRecord record(hardware->getNativeSize());
  hardware->mapping_ = &record.map;

  std::wstring reply;
  EXPECT_EQ(hardware->sendCommand(L"GetModuleMap", reply), 0);
  EXPECT_EQ(reply, L"2:KVXGL00017:KVXGR00018");
  EXPECT_EQ(hardware->sendCommand(L"SensorSelect 2", reply), 0);
  EXPECT_EQ(hardware->sendCommand(L"SetSerialNumber,1,4660", reply), 0);
  while (record.records.size() < 1000) {
    ASSERT_EQ(hardware->readRecord(), 0);
  }
  EXPECT_EQ(hardware->sendCommand(L"BatteryLevel", reply), 0);
  EXPECT_EQ(reply, L"0.75");

  EXPECT_EQ(record.records.front().timestamp, hostClock)
      << "the first record is of the moment at which it is read";
  EXPECT_EQ(record.records.back().elements.back(), HostRecord::untouched);

  EXPECT_TRUE(hardware->saveParameters((folder_.wide() + L"saved").c_str()));
  EXPECT_NE(folder_.read("saved").find("TesselElementCount\t250\n"), std::string::npos);
  EXPECT_EQ(hardware->close(), 0);
  EXPECT_TRUE(library_->release(hardware));
  EXPECT_FALSE(library_->release(hardware));
  EXPECT_TRUE(log_.entries("Tessel").ends_with("Done setting up Tessel sensor\n"));
  EXPECT_EQ(log_.entries("BleDevice"), "Successfully connected to device.\nDestroying BLE Device.\n");
  EXPECT_EQ(gloves.halt(0).commands(), (std::vector<std::vector<std::uint8_t>>{{178, 254}}));
  EXPECT_EQ(gloves.halt(1).commands(), (std::vector<std::vector<std::uint8_t>>{{114, 254, 0x34, 0x12}}));
}

TEST_F(Plugin, TheExampleHostRecords)
{
  PtyGloves gloves(folder_ / "dongle");
  folder_.write("settings", "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\n");
  std::filesystem::create_directory(folder_ / "log");
  const std::string command = std::string(TESSEL_HOST_EXAMPLE) + " " + TESSEL_PLUGIN + " " +
                              (folder_ / "settings").string() + " " + (folder_ / "log").string() + "/ 40 > " +
                              (folder_ / "output").string();
  ASSERT_EQ(std::system(command.c_str()), 0);
  std::istringstream lines(folder_.read("output"));
  std::string line;
  for (int record = 0; record < 40; ++record) {
    std::getline(lines, line);
    unsigned timestamp = 0, frame = 0, second = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "%u ms: %u %u ...", &timestamp, &frame, &second), 3) << line;
    EXPECT_EQ(second, PtyGloves::movement(0, 1, frame));
  }
  std::getline(lines, line);
  EXPECT_EQ(line, "battery 0.75");
}

TEST_F(Plugin, ACaptureHoldsEachLoadUpToTheLinkThatUnloadingCloses)
{
  PtyGloves gloves(folder_ / "dongle");
  ::setenv("TESSEL_CAPTURE", (folder_ / "capture").c_str(), 1);
  ASSERT_EQ(create()->configure(), 0);
  library_.reset();
  library_.emplace(TESSEL_PLUGIN);
  library_->setFolders(&log_.folders);
  library_->setLog(log_.manager.get());
  ASSERT_EQ(create()->configure(), 0);
  library_.reset();
  ::unsetenv("TESSEL_CAPTURE");

  const std::string capture = folder_.read("capture");
  const std::string section = "\n\r\r\n";
  EXPECT_EQ(capture.find(section), 0U);
  EXPECT_GT(capture.rfind(section), capture.find("purge")) << "the second load has a section of its own";
  const std::string disconnect("\0\1\3\0", 4);
  EXPECT_GT(capture.rfind(disconnect), capture.rfind("purge")) << "what unloading sends is captured";
}

}  // namespace
