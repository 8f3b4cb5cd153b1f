#include "shared/Log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <regex>

#include "shared/Folder.h"
#include "shared/System.h"
#include "tests/support/TemporaryFolder.h"

namespace {

class Log : public testing::Test {
 protected:
  void SetUp() override
  {
    folders_[L"log"] = folder::Folder(temporary_.wide());
    folder::folders_ = &folders_;
  }
  void TearDown() override
  {
    folder::folders_ = nullptr;
    currentLogManager = nullptr;
  }

  std::string fileName() const
  {
    char address[17];
    std::snprintf(address, sizeof address, "%016llX",
                  static_cast<unsigned long long>(std::uintptr_t(&object_)));
    return std::string("A_") + address + ".log";
  }

  // The content of the object's file after the two header lines.
  std::string entries() const
  {
    const std::string text = temporary_.read(fileName());
    return text.substr(text.find('\n', text.find('\n') + 1) + 1);
  }

  TemporaryFolder temporary_;
  folder::FolderMap folders_;
  int object_ = 0;
};

TEST_F(Log, AFileBeginsWithPathDateTimeAndLevel)
{
  LogManager manager(2);
  manager.add(&object_, L"A");
  const std::regex header(
      "Log file (.*) created on \\d{4}-[01]\\d-[0-3]\\d at [01]\\d:[0-5]\\d:[0-6]\\d [AP]M\n"
      "System Logging Level = 2\n");
  std::smatch match;
  const std::string text = temporary_.read(fileName());
  ASSERT_TRUE(std::regex_match(text, match, header)) << text;
  EXPECT_EQ(match[1], temporary_.path().string() + "/" + fileName());
}

TEST_F(Log, TheSystemLevelDecidesWhatIsWritten)
{
  for (const auto& [level, expected] :
       {std::pair(0, ""), std::pair(1, "one 1\n"), std::pair(2, "one 1\ntwo\n")}) {
    LogManager manager(level);
    manager.add(&object_, L"A");
    manager.node(&object_, 1) << "one " << 1 << L"\n";
    manager.node(&object_, 2) << L"two\n";
    EXPECT_EQ(entries(), expected) << "system level " << level;
    EXPECT_EQ(temporary_.list(), level == 0 ? "" : fileName());
  }
}

TEST_F(Log, TheFirstRegistrationIsKeptAndAnObjectThatWasNeverAddedIsSilentUntilItIsRemoved)
{
  LogManager manager(1);
  manager.node(&object_, 1) << L"lost\n";
  manager.add(&object_, L"A");
  manager.node(&object_, 1) << L"lost too\n";
  EXPECT_EQ(temporary_.list(), "");
  manager.remove(&object_);
  manager.remove(&manager);
  manager.add(&object_, L"A");
  manager.add(&object_, L"Second");
  manager.node(&object_, 1) << L"1\n";
  EXPECT_EQ(temporary_.list(), fileName());
  EXPECT_EQ(entries(), "1\n");
}

TEST_F(Log, AFileThatDisappearsOrCannotBeOpenedLosesNoLaterItem)
{
  LogManager manager(1);
  manager.add(&object_, L"A");
  std::filesystem::remove(temporary_ / fileName());
  std::filesystem::create_directory(temporary_ / fileName());
  manager.node(&object_, 1) << L"lost\n";
  std::filesystem::remove(temporary_ / fileName());
  manager.node(&object_, 1) << L"kept\n";
  EXPECT_EQ(temporary_.read(fileName()), "kept\n") << "created again, without a header";
}

TEST_F(Log, AFileThatCannotBeCreatedThrowsAWideString)
{
  LogManager manager(1);
  folders_[L"log"] = folder::Folder(temporary_.wide() + L"gone/");
  std::filesystem::remove(temporary_ / "gone");
  try {
    manager.add(&object_, L"A");
    FAIL();
  } catch (const std::wstring& text) {
    EXPECT_EQ(text, L"Could not create log file " + (temporary_.wide() + L"gone/") +
                        std::filesystem::path(fileName()).wstring());
  }
}

TEST_F(Log, ACopyOfANodeThatKeepsItsFileOpenOpensItAtOnceWithoutAHeader)
{
  const LogManager manager(1);
  const LogManager::Node node(manager, temporary_.wide() + L"kept.log", true);
  std::error_code stillOpen;  // a system may refuse to remove an open file
  std::filesystem::remove(temporary_ / "kept.log", stillOpen);
  auto copy = std::make_unique<LogManager::Node>(node);
  EXPECT_TRUE(std::filesystem::exists(temporary_ / "kept.log"));
  *copy << L"copy\n";
  copy.reset();
  EXPECT_EQ(temporary_.read("kept.log"), "copy\n");
}

TEST_F(Log, ANewManagerDeletesOnlyTheLogsOfThePreviousRun)
{
  temporary_.write("old.log", "");
  temporary_.write("a.log.keep", "");
  std::filesystem::create_directory(temporary_ / "folder.log");
  {
    const LogManager manager(0);
  }
  EXPECT_EQ(temporary_.list(), "a.log.keep folder.log");

  // Without a separator file names are appended directly to the folder's name, and the clean-up must not
  // match these files.
  temporary_.write("folder.log/in.log", "");
  temporary_.write("other.log", "");
  temporary_.write("folderother.log", "");
  folders_[L"log"] = folder::Folder(temporary_.wide() + L"folder");
  std::filesystem::remove(temporary_ / "folder");
  {
    const LogManager manager(0);
  }
  EXPECT_EQ(temporary_.list(), "a.log.keep folder.log folderother.log other.log");
}

TEST_F(Log, FoldersMayHaveNamesOfAnyAlphabet)
{
  const std::wstring path = temporary_.wide() + L"\u03A9\u8A18/";
  folders_[L"log"] = folder::Folder(path);
  {
    LogManager manager(1);
    manager.add(&object_, L"A");
    EXPECT_TRUE(std::filesystem::exists(*os::nativePath(path) / fileName()));
  }
  {
    const LogManager manager(0);
  }
  EXPECT_TRUE(std::filesystem::is_empty(*os::nativePath(path)));
}

TEST_F(Log, WithoutAManagerTheProcessCreatesItsOwn)
{
  EXPECT_THROW(logManager(-1), const wchar_t*) << "a negative level only fetches";
  LogManager* const own = logManager(1);
  EXPECT_EQ(own, currentLogManager);
  EXPECT_EQ(logManager(2), own);
}

}  // namespace
