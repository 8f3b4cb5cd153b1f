// A host that opens and closes the gloves repeatedly over a real pseudo terminal must leak nothing.

#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <iterator>
#include <memory>
#include <utility>

#include "HWTessel.h"
#include "tests/support/FastTime.h"
#include "tests/support/HostLog.h"
#include "tests/support/PtyGloves.h"

namespace {

std::uint32_t standingClock()
{
  return 60'000;
}

std::ptrdiff_t openDescriptors()
{
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

class LifeCycle : public testing::Test {
 public:
  std::unique_ptr<HWTessel> make(bool checksSensors)
  {
    const std::wstring file = folder_.write(
        "settings",
        std::string("TesselElementCount\t250\nTesselNumBleModules\t2\nTesselSkipSensorStartupCheck\t") +
            (checksSensors ? "0" : "1"));
    return std::make_unique<HWTessel>(file.c_str(), standingClock, L"test");
  }

  // Two life cycles: one whose link opens, and one whose link fails for a faulty sensor. Each object is
  // configured a second time, which fails, and must not keep the port from the next one.
  void liveTwice()
  {
    const auto good = make(false);
    ASSERT_EQ(good->configure(), 0) << testing::PrintToString(good->lastError_);
    ASSERT_EQ(good->configure(), -1);
    ASSERT_EQ(good->close(), 0);

    const auto failing = make(true);
    ASSERT_EQ(failing->configure(), -1);
    ASSERT_TRUE(failing->lastError_.starts_with(L"Faulty sensor(s)"))
        << testing::PrintToString(failing->lastError_);
    ASSERT_EQ(failing->configure(), -1);
  }

  TemporaryFolder folder_;
  HostLog log_{0};
  static constexpr double speed = 100;
  bool followsClock_ = false;
  // A hundred times as fast as real gloves, with a short restart time and little data.
  PtyGloves gloves_{folder_ / "dongle", speed,
                    [this](VirtualClock& clock, simulator::Dongle& dongle, simulator::GloveConfig& config) {
                      if (!std::exchange(followsClock_, true)) fast_time::follow(clock, speed);
                      dongle.restartTime = simulator::Duration(10'000);
                      config.sensorStatus[1] = 249;
                      config.framesPerSecond = 1;
                    }};
};

// Under the sanitizers, which look for leaks themselves, fewer do, because each is slow.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int cycles = 200;
#else
constexpr int cycles = 1000;
#endif

TEST_F(LifeCycle, AThousandOpeningsLeaveNoDescriptorAndNoMemory)
{
  constexpr int warmUp = 50;
  std::ptrdiff_t descriptors = 0;
  std::size_t bytes = 0;
  for (int cycle = 0; cycle < cycles; ++cycle) {
    ASSERT_NO_FATAL_FAILURE(liveTwice()) << "cycle " << cycle;
    if (cycle != warmUp) continue;
    descriptors = openDescriptors();
    bytes = ::mallinfo2().uordblks;
  }
  EXPECT_EQ(openDescriptors(), descriptors);
  // The simulated gloves' queues vary on their own thread. A leak in each cycle would exceed this.
  constexpr std::size_t tolerated = 32 * std::size_t{cycles - warmUp};
  EXPECT_LT(::mallinfo2().uordblks, bytes + tolerated);
}

}  // namespace
