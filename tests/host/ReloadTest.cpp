#include "host/base/System.h"
#include "tests/host/Reload.h"

namespace {

TEST_F(Reload, AHundredFailedConnectionsLeaveNothing)
{
  host::setEnvironment("TESSEL_SERIAL_PORTS", "none=none");
  // On Windows the C++ runtime keeps nearly as much for the thread that loads the plug-in.
  constexpr std::size_t tolerated = 1024;
  expectNothingLeft(20, 100, tolerated, [this] {
    connect(false);
    disconnect();
  });
}

}  // namespace
