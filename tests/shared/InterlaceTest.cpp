#include "shared/Interlace.h"

#include <gtest/gtest.h>

#include "tests/support/GroupingLocale.h"
#include "tests/support/TemporaryFolder.h"

TEST(Interlace, ReadsWritesAndCountsNumbersUpToTheFirstOtherWord)
{
  const TemporaryFolder folder;
  const auto entries =
      interlace::readInterlaceFile(folder.write("in", "3 -1\n1\n 0 4 6 2 end 1").c_str(), 77);
  EXPECT_TRUE(interlace::writeInterlaceFile(entries, (folder / "out").wstring()));
  EXPECT_EQ(folder.read("out"), "3\n1\n0\n4\n6\n2\n");
  EXPECT_EQ(entries.back().context, 77);
  EXPECT_EQ(interlace::interlaceCount(entries), 3U) << "3, 6 and 2 have bit 1, only 3 and 1 have bit 0";
  EXPECT_TRUE(interlace::readInterlaceFile(nullptr, 0).empty());
  EXPECT_FALSE(interlace::writeInterlaceFile({}, folder.wide()));
  EXPECT_THROW(interlace::readInterlaceFile(folder.wide().c_str(), 0), char*);
}

TEST(Interlace, NumbersAreTheSameInALocaleThatGroupsDigits)
{
  const TemporaryFolder folder;
  const GroupingLocale grouping;
  const std::wstring path = folder.write("in", "12000");
  EXPECT_TRUE(interlace::writeInterlaceFile(interlace::readInterlaceFile(path.c_str(), 0), path));
  EXPECT_EQ(folder.read("in"), "12000\n");
}
