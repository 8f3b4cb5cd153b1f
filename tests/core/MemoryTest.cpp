// Operations that must succeed when memory is exhausted.

#include "tests/core/CoreFixture.h"
#include "tests/support/FailingMemory.h"

namespace {

TEST_F(CoreTest, AnObjectIsDestroyedWithoutMemoryAndItsLastLinesAreSilentlyLost)
{
  log_.setLevel(2);
  addGlove("KVXGL00017");
  make("TesselElementCount\t125\n");
  ASSERT_EQ(tessel_->configure(), 0);
  tessel_->close();
  {
    const FailingMemory none;
    tessel_.reset();
  }
  EXPECT_EQ(log_.entries("BleDevice"), "Successfully connected to device.\n");
}

}  // namespace
