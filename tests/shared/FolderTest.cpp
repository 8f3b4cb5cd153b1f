#include "shared/Folder.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

using folder::Folder;

class Folders : public testing::Test {
 protected:
  void SetUp() override { folder::folders_ = nullptr; }
  void TearDown() override { folder::folders_ = nullptr; }
};

TEST_F(Folders, TheHostsMapIsTheMapInUse)
{
  folder::FolderMap host;
  folder::folders_ = &host;
  EXPECT_EQ(&folder::folders(), &host);
  EXPECT_TRUE(host.empty());
}

TEST_F(Folders, WithoutAHostOneEmptyMapIsMadeAndKept)
{
  folder::FolderMap& made = folder::folders();
  EXPECT_TRUE(made.empty());
  EXPECT_EQ(made[L"log"].path(), L"");
  EXPECT_EQ(&folder::folders(), &made);
  EXPECT_EQ(folder::folders_, &made);
}

TEST(Folder, AFullPathIsTheTwoTextsJoined)
{
  const TemporaryFolder temporary;
  EXPECT_EQ(Folder(temporary.wide()).fullPath(L"a.log"), temporary.wide() + L"a.log");
  const std::wstring bare = temporary.path().wstring();
  EXPECT_EQ(Folder(bare).fullPath(L"a.log"), bare + L"a.log") << "a missing separator is not repaired";
  EXPECT_EQ(Folder(L"..").path(), L"");
}

TEST(Folder, ADirectoryThatIsNotThereIsMade)
{
  const TemporaryFolder temporary;
  const Folder made(temporary.wide() + L"new/");
  EXPECT_TRUE(std::filesystem::is_directory(temporary / "new"));
  const Folder impossible(temporary.wide() + L"no/such/parent/");
  EXPECT_FALSE(std::filesystem::exists(temporary / "no"));
}

TEST(Folder, EnteringAndLeavingGoByBackslashes)
{
  const TemporaryFolder temporary;
  Folder folder(temporary.wide());
  folder.enter(L"one");
  EXPECT_EQ(folder.path(), temporary.wide() + L"one\\");
  folder.enter(L"two");
  folder.parent();
  EXPECT_EQ(folder.path(), temporary.wide() + L"one\\");
  folder.parent();
  const std::size_t above = temporary.path().wstring().find_last_of(L'\\') + 1;
  EXPECT_EQ(folder.path(), temporary.wide().substr(0, above))
      << "nothing is above a path without backslashes";
  folder = Folder();
  folder.parent();
  EXPECT_EQ(folder.path(), L"");
}

TEST(Folder, FilesAreProbedAndRemovedButNeverListed)
{
  const TemporaryFolder temporary;
  temporary.write("a.txt", "a");
  const Folder folder(temporary.wide());
  EXPECT_TRUE(folder.hasFile(L"a.txt"));
  EXPECT_FALSE(folder.hasFile(L"b.txt"));
  std::vector<std::wstring> names{L"left over"};
  EXPECT_EQ(folder.listFiles(names), 0U);
  EXPECT_TRUE(names.empty());
  folder.removeFile(L"a.txt");
  folder.removeFile(L"b.txt");
  EXPECT_EQ(temporary.list(), "");
}

}  // namespace
