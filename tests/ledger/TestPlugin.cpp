// The plug-in on the platform of the tests: one more export hands it the test's ports and clock.

#include "tests/ledger/TestPlugin.h"

#include "tests/support/SimulatedPlatform.h"

[[gnu::visibility("default")]] void usePlatform(SimulatedPlatform* platform)
{
  SimulatedPlatform::use(platform);
}
