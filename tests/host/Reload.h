// Gloves that are connected and disconnected repeatedly: the plug-in is loaded for each connection and
// unloaded at its end, which must leave nothing behind.
#pragma once

#include <gtest/gtest.h>

#include "host/session/HardwareConnector.h"
#include "tests/support/ProcessUse.h"
#include "tests/support/TemporaryFolder.h"

class Reload : public testing::Test {
 public:
  explicit Reload(const HardwareOptions& options = {}) : source_(options) {}

  // Without a dongle it fails at once.
  void connect(bool hasDongle)
  {
    bool isThere = false;
    try {
      connector_.connect([&] { return isThere = isLoaded(plugin_); });
      EXPECT_TRUE(hasDongle);
    } catch (const Failure& failure) {
      ASSERT_EQ(failure.code(), hasDongle ? ExitCode::done : ExitCode::noDongle) << failure.what();
    }
    EXPECT_TRUE(isThere);
  }

  void disconnect()
  {
    connector_.disconnect();
    EXPECT_FALSE(isLoaded(plugin_));
  }

  // `warmUp`: cycles in which caches reach their size.
  template <class Cycle>
  static void expectNothingLeft(int warmUp, int cycles, std::size_t toleratedPerCycle, const Cycle& cycle)
  {
    std::size_t handles = 0, bytes = 0;
    for (int done = 0; done < warmUp + cycles; ++done) {
      if (done == warmUp) {
        handles = openHandles();
        bytes = heapBytes();
      }
      ASSERT_NO_FATAL_FAILURE(cycle()) << "cycle " << done;
    }
    // A leak would be of one a cycle.
    EXPECT_LE(openHandles(), handles + openHandlesTolerance);
    EXPECT_LT(heapBytes(), bytes + toleratedPerCycle * static_cast<std::size_t>(cycles));
  }

  const std::string plugin_ = std::string("HwTessel") + os::SharedObject::suffix;
  TemporaryFolder folder_;
  HardwareSource source_;
  LinkCapture capture_{2, 125, folder_ / "capture"};  // into a file: the tail kept without one grows
  HardwareConnector connector_{source_, &capture_};
};
