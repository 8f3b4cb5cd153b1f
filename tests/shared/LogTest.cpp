#include "shared/Log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <regex>

#include "shared/Folder.h"
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

  static std::string fileName(const std::string& name, const void* object)
  {
    char address[17];
    std::snprintf(address, sizeof address, "%016llX",
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(object)));
    return name + "_" + address + ".log";
  }

  // What stands in an object's file behind the two header lines.
  std::string entries(const std::string& name, const void* object) const
  {
    const std::string text = temporary_.read(fileName(name, object));
    const std::size_t secondLine = text.find('\n') + 1;
    return text.substr(text.find('\n', secondLine) + 1);
  }

  TemporaryFolder temporary_;
  folder::FolderMap folders_;
  int object_ = 0;
  int other_ = 0;
};

TEST_F(Log, AFileBeginsWithPathDateTimeAndLevel)
{
  LogManager manager(2);
  manager.add(&object_, L"Tessel");
  const std::string name = fileName("Tessel", &object_);
  EXPECT_EQ(temporary_.list(), name);
  const std::regex header(
      "Log file (.*) created on \\d{4}-[01]\\d-[0-3]\\d at [01]\\d:[0-5]\\d:[0-6]\\d [AP]M\n"
      "System Logging Level = 2\n");
  std::smatch match;
  const std::string text = temporary_.read(name);
  ASSERT_TRUE(std::regex_match(text, match, header)) << text;
  EXPECT_EQ(match[1], temporary_.path().string() + "/" + name);
}

TEST_F(Log, TheSystemLevelDecidesWhatIsWritten)
{
  const std::pair<std::int32_t, const char*> cases[] = {{1, "one 1\n"}, {2, "one 1\ntwo\n"}};
  for (const auto& [level, expected] : cases) {
    LogManager manager(level);
    manager.add(&object_, L"Tessel");
    manager.node(&object_, 1) << "one " << 1 << L"\n";
    manager.node(&object_, 2) << L"two\n";
    EXPECT_EQ(entries("Tessel", &object_), expected) << "system level " << level;
  }
}

TEST_F(Log, ALevelOfZeroWritesNothingAndNeedsNoFolder)
{
  folders_[L"log"] = folder::Folder();
  std::filesystem::remove(temporary_.path());
  LogManager manager(0);
  manager.add(&object_, L"Tessel");
  manager.node(&object_, 1) << L"one\n";
  manager.node(&object_) << L"without a level\n";
  EXPECT_FALSE(std::filesystem::exists(temporary_.path()));
  EXPECT_FALSE(std::filesystem::exists(fileName("Tessel", &object_)));
}

TEST_F(Log, TheFirstRegistrationStands)
{
  LogManager manager(1);
  manager.add(&object_, L"First");
  manager.add(&object_, L"Second");
  manager.node(&object_, 1) << L"line\n";
  EXPECT_EQ(temporary_.list(), fileName("First", &object_));
  EXPECT_EQ(entries("First", &object_), "line\n");
}

TEST_F(Log, AnObjectThatWasNeverAddedIsSilentForGood)
{
  LogManager manager(1);
  manager.node(&object_, 1) << L"lost\n";
  manager.add(&object_, L"Late");
  manager.node(&object_, 1) << L"lost too\n";
  EXPECT_EQ(temporary_.list(), "");
  manager.remove(&object_);
  manager.remove(&other_);
  manager.add(&object_, L"Late");
  EXPECT_EQ(temporary_.list(), fileName("Late", &object_));
}

TEST_F(Log, EachObjectHasItsFileAndASecondRegistrationAddsASecondHeader)
{
  LogManager manager(1);
  manager.add(&object_, L"A");
  manager.add(&other_, L"B");
  manager.node(&object_, 1) << L"1";
  manager.node(&other_, 1) << L"2";
  manager.node(&object_, 1) << L"3\n";
  EXPECT_EQ(entries("B", &other_), "2");
  manager.remove(&object_);
  manager.add(&object_, L"A");
  const std::string text = entries("A", &object_);
  EXPECT_TRUE(text.starts_with("13\nLog file ")) << text;
  EXPECT_TRUE(text.ends_with("System Logging Level = 1\n")) << text;
}

TEST_F(Log, AFileDeletedBetweenStatementsIsMadeAnewWithoutHeader)
{
  LogManager manager(1);
  manager.add(&object_, L"A");
  std::filesystem::remove(temporary_ / fileName("A", &object_));
  manager.node(&object_, 1) << L"new\n";
  EXPECT_EQ(temporary_.read(fileName("A", &object_)), "new\n");
}

TEST_F(Log, ItemsThatCannotBeWrittenDoNotSilenceTheNodeForGood)
{
  LogManager manager(1);
  manager.add(&object_, L"A");
  const auto file = temporary_ / fileName("A", &object_);
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  manager.node(&object_, 1) << L"lost\n";
  std::filesystem::remove(file);
  manager.node(&object_, 1) << L"kept\n";
  EXPECT_EQ(temporary_.read(fileName("A", &object_)), "kept\n");
}

TEST_F(Log, AFileThatCannotBeCreatedThrowsAWideString)
{
  folders_[L"log"] = folder::Folder();
  const std::wstring missing = temporary_.wide() + L"missing/";
  LogManager manager(1);
  std::filesystem::create_directory(temporary_ / "missing");
  folders_[L"log"] = folder::Folder(missing);
  std::filesystem::remove(temporary_ / "missing");
  try {
    manager.add(&object_, L"Tessel");
    FAIL();
  } catch (const std::wstring& text) {
    const std::string name = fileName("Tessel", &object_);
    EXPECT_EQ(text, L"Could not create log file " + missing + std::wstring(name.begin(), name.end()));
  }
}

TEST_F(Log, ANodeThatKeepsItsFileOpenIsCopiedWithTheFileOpened)
{
  const LogManager manager(1);
  const std::wstring path = temporary_.wide() + L"kept.log";
  {
    LogManager::Node node(manager, path, true);
    LogManager::Node copy(node);
    node << L"node\n";
    copy << L"copy\n";
  }
  const std::string text = temporary_.read("kept.log");
  EXPECT_NE(text.find("node\n"), std::string::npos);
  EXPECT_NE(text.find("copy\n"), std::string::npos);
  EXPECT_EQ(text.find("Log file"), text.rfind("Log file")) << "a copy writes no header";

  const LogManager::Node node(manager, path, true);
  std::error_code stillOpen;  // a system may refuse to remove the file; then it is there all the same
  std::filesystem::remove(temporary_ / "kept.log", stillOpen);
  const auto copy = std::make_unique<LogManager::Node>(node);
  EXPECT_TRUE(std::filesystem::exists(temporary_ / "kept.log")) << "the copy opens at once";
}

TEST_F(Log, ANewManagerDeletesTheLogsOfTheRunBeforeWhateverItsLevel)
{
  temporary_.write("old.log", "");
  temporary_.write("keep.txt", "");
  temporary_.write("a.log.keep", "");
  std::filesystem::create_directory(temporary_ / "folder.log");
  const LogManager manager(0);
  EXPECT_EQ(temporary_.list(), "a.log.keep folder.log keep.txt");
}

TEST_F(Log, AFolderWithoutSeparatorGluesNamesToItAndLosesNoOtherLogs)
{
  std::filesystem::create_directory(temporary_ / "sub");
  temporary_.write("subother.log", "");
  temporary_.write("sub/in.log", "");
  temporary_.write("other.log", "");
  folders_[L"log"] = folder::Folder(temporary_.wide() + L"sub");
  LogManager manager(1);
  manager.add(&object_, L"A");
  EXPECT_EQ(temporary_.list(), "other.log sub sub" + fileName("A", &object_) + " subother.log");
  EXPECT_TRUE(std::filesystem::exists(temporary_ / "sub" / "in.log"));
}

TEST_F(Log, WithoutAManagerThereIsOneOfTheProcessItself)
{
  EXPECT_THROW(logManager(-1), const wchar_t*) << "a negative level only fetches";
  LogManager* const own = logManager(1);
  EXPECT_EQ(own, currentLogManager);
  EXPECT_EQ(logManager(-1), own);
  EXPECT_EQ(logManager(2), own) << "the first level stays";
  own->add(&object_, L"A");
  own->node(&object_, 2) << L"detail";
  EXPECT_EQ(entries("A", &object_), "");
}

}  // namespace
