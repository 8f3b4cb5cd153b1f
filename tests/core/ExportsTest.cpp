// The five exported functions, linked statically.

#include "shared/PluginApi.h"
#include "tests/core/CoreFixture.h"

namespace {

using namespace plugin;

TEST_F(CoreTest, ObjectsAreReleasedOnceAndByIdentity)
{
  int other = 0;
  EXPECT_STREQ(getName(), L"Tessel");
  EXPECT_FALSE(release(nullptr));
  const std::wstring file = folder_.write("settings", "TesselElementCount\t5\n");
  HwInterface* const first = create(file.c_str(), &CoreTest::clock, L"host");
  HwInterface* const second = create(L"no such file", &CoreTest::clock, L"");
  EXPECT_EQ(first->hostText_, L"host");
  EXPECT_EQ(first->getNativeSize(), 5U);
  EXPECT_FALSE(release(reinterpret_cast<HwInterface*>(&other)));
  EXPECT_TRUE(release(first));
  EXPECT_FALSE(release(first));
  EXPECT_EQ(second->getMaxValue(), 65535);
  EXPECT_TRUE(release(second));
  EXPECT_FALSE(release(second));
}

}  // namespace
