#include "host/capture/CaptureReader.h"

#include <gtest/gtest.h>

namespace {

TEST(CaptureReader, GarbageIsSkippedAndCounted)
{
  CaptureReader reader;
  const std::uint8_t garbage[] = {1, 2, 3};
  reader.add(garbage);
  EXPECT_FALSE(reader.next());
  EXPECT_EQ(reader.skippedBytes() + reader.unfinishedBytes(), 3U);
}

}  // namespace
