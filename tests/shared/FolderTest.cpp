#include "shared/Folder.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

using folder::Folder;

TEST(Folders, TheHostsMapIsInUseOrElseOneEmptyMap)
{
  folder::FolderMap host;
  folder::folders_ = &host;
  EXPECT_EQ(&folder::folders(), &host);
  folder::folders_ = nullptr;
  folder::FolderMap& made = folder::folders();
  EXPECT_TRUE(made.empty());
  EXPECT_EQ(made[L"log"].path(), L"") << "a lookup makes the entry";
  EXPECT_EQ(&folder::folders(), &made);
  folder::folders_ = nullptr;
}

TEST(Folder, IsTheTextThatNamesAreAppendedToAndIsCreatedIfMissing)
{
  const TemporaryFolder temporary;
  Folder folder(temporary.wide() + L"new/");
  EXPECT_TRUE(std::filesystem::is_directory(temporary / "new"));
  temporary.write("new/a.txt", "a");
  EXPECT_TRUE(folder.hasFile(L"a.txt"));
  folder.removeFile(L"a.txt");
  EXPECT_FALSE(folder.hasFile(L"a.txt"));

  folder.enter(L"one");
  folder.enter(L"two");
  EXPECT_EQ(folder.fullPath(L"a"), temporary.wide() + L"new/one\\two\\a");
  folder.parent();
  EXPECT_EQ(folder.path(), temporary.wide() + L"new/one\\");
  EXPECT_EQ(Folder(L"..").path(), L"");
  folder = Folder();
  folder.parent();
  EXPECT_EQ(folder.path(), L"");
}

}  // namespace
