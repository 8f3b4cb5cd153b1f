#include "shared/Interlace.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

TEST(Interlace, ReadsNumbersUpToTheFirstOtherWord)
{
  const TemporaryFolder folder;
  const auto entries = interlace::readInterlaceFile(folder.write("in", "3 -1\n1\n 0 2 end 3").c_str(), 77);
  ASSERT_EQ(entries.size(), 4U);
  EXPECT_EQ(entries[0].number, 3);
  EXPECT_EQ(entries[1].number, 1);
  EXPECT_EQ(entries[2].number, 0);
  EXPECT_EQ(entries[3].number, 2);
  EXPECT_EQ(entries[3].context, 77);
  EXPECT_EQ(entries[3].spare, 0);
  EXPECT_EQ(interlace::interlaceCount(entries), 2U);

  const std::wstring out = (folder / "out").wstring();
  EXPECT_TRUE(interlace::writeInterlaceFile(entries, out));
  EXPECT_EQ(folder.read("out"), "3\n1\n0\n2\n");
}

TEST(Interlace, CountsTheBitThatMoreNumbersHave)
{
  EXPECT_EQ(interlace::interlaceCount({}), 0U);
  EXPECT_EQ(interlace::interlaceCount({{1, 0, 0}, {5, 0, 0}, {2, 0, 0}}), 2U);
  EXPECT_EQ(interlace::interlaceCount({{1, 0, 0}, {2, 0, 0}, {6, 0, 0}, {3, 0, 0}}), 3U);
}

TEST(Interlace, AFileThatDoesNotOpenThrowsANarrowText)
{
  EXPECT_TRUE(interlace::readInterlaceFile(nullptr, 0).empty());
  const TemporaryFolder folder;
  try {
    interlace::readInterlaceFile((folder / "missing").wstring().c_str(), 0);
    FAIL();
  } catch (char* text) {
    EXPECT_STREQ(text, "Error reading interlace file");
  }
  EXPECT_FALSE(interlace::writeInterlaceFile({}, folder.wide()));
}

}  // namespace
