// Gloves that can't be connected, again and again: the plug-in is loaded for each attempt and unloaded at its
// end, which must leave nothing behind.

#include <gtest/gtest.h>

#include "host/base/System.h"
#include "host/session/HardwareConnector.h"
#include "tests/support/ProcessUse.h"
#include "tests/support/TemporaryFolder.h"

namespace {

TEST(Reload, AHundredFailedConnectionsLeaveNothing)
{
  host::setEnvironment("TESSEL_SERIAL_PORTS", "none=none");
  // In the first cycles caches reach their size.
  constexpr int warmUp = 20, cycles = 100;
  // On Windows the C++ runtime keeps nearly as much for the thread that loads the plug-in.
  constexpr std::size_t toleratedPerCycle = 1024;
  const std::string plugin = std::string("HwTessel") + os::SharedObject::suffix;
  const TemporaryFolder folder;
  HardwareSource source{{}};
  LinkCapture capture{2, 125, folder / "capture"};  // into a file: the tail kept without one grows
  HardwareConnector connector{source, &capture};
  std::size_t handles = 0, bytes = 0;
  for (int done = 0; done < warmUp + cycles; ++done) {
    if (done == warmUp) {
      handles = openHandles();
      bytes = heapBytes();
    }
    bool isThere = false;
    EXPECT_THROW(connector.connect([&] { return isThere = isLoaded(plugin); }), Failure);
    EXPECT_TRUE(isThere);
    connector.disconnect();
    ASSERT_FALSE(isLoaded(plugin)) << "cycle " << done;
  }
  // A leak would be of one a cycle.
  EXPECT_LE(openHandles(), handles + openHandlesTolerance);
  EXPECT_LT(heapBytes(), bytes + toleratedPerCycle * cycles);
}

}  // namespace
