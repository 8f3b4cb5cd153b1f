#include "host/base/PartFile.h"

#include <gtest/gtest.h>

#include "tests/support/Refusal.h"
#include "tests/support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using Kind = PartFile::Kind;

class PartFiles : public testing::Test {
 public:
  void grow(const PartFile& part, const std::string& text) const
  {
    folder_.write(part.growing().filename().string(), text);
  }

  // The words with which an output is refused; empty if it is not.
  std::string refusal(const std::string& name, Kind kind, bool replaces) const
  {
    const auto hasNoNotes = [](const fs::path& path) { return !fs::exists(path / "notes"); };
    const auto failure = failureOf([&] { PartFile(folder_ / name, kind, replaces, hasNoNotes); });
    if (!failure) return "";
    EXPECT_EQ(failure->code(), ExitCode::output);
    EXPECT_FALSE(failure->advice().empty());
    return failure->what();
  }

  TemporaryFolder folder_;
};

TEST_F(PartFiles, NothingThatIsThereIsLost)
{
  folder_.write("run.csv", "old");
  folder_.write("left.csv.part", "left");
  fs::create_directory(folder_ / "folder");
  folder_.write("folder/notes", "mine");
  const struct {
    const char* name;
    Kind kind;
    bool replaces;
    const char* words;  // empty: it is taken
  } cases[] = {
      {"run.csv", Kind::file, false, "already exists"},
      {"run.csv", Kind::file, true, ""},
      {"run.csv", Kind::folder, true, "as a file"},
      {"left.csv", Kind::file, false, "was left by a run"},
      {"folder", Kind::file, true, "as a folder"},
      {"folder", Kind::folder, false, "already exists"},
      {"folder", Kind::folder, true, "contains other files"},
      {"nowhere/run.csv", Kind::file, false, "can't be created"},
  };
  for (const auto& [name, kind, replaces, words] : cases) {
    const std::string said = refusal(name, kind, replaces);
    EXPECT_TRUE(*words == '\0' ? said.empty() : said.find(words) != std::string::npos)
        << name << ": " << said;
  }
  EXPECT_EQ(folder_.read("run.csv"), "old") << "it was not settled";
  EXPECT_EQ(folder_.read("left.csv.part"), "left");
  EXPECT_EQ(folder_.read("folder/notes"), "mine");
}

TEST_F(PartFiles, WhatAnEarlierRunLeftIsReplaced)
{
  folder_.write("run.csv.part", "left");
  fs::create_directory(folder_ / "run.part");
  folder_.write("run.part/old.npy", "left");
  PartFile file(folder_ / "run.csv", Kind::file, true);
  PartFile folder(folder_ / "run", Kind::folder, true);
  file.settle();
  folder.settle();
  EXPECT_EQ(folder_.read("run.csv"), "");
  EXPECT_TRUE(fs::is_empty(folder_ / "run"));
}

TEST_F(PartFiles, TwoRunsDoNotShareAName)
{
  PartFile first(folder_ / "run.csv", Kind::file, false);
  EXPECT_NE(refusal("run.csv", Kind::file, true).find("another run"), std::string::npos);
  first.replaceContent("new", Disk::ofSystem());
  EXPECT_EQ(folder_.read("run.csv.part"), "new");
  EXPECT_NE(refusal("run.csv", Kind::file, true).find("another run"), std::string::npos);
}

TEST_F(PartFiles, ANameThatAppearsMeanwhileIsNotTakenAway)
{
  {
    PartFile part(folder_ / "run.csv", Kind::file, false);
    grow(part, "new");
    folder_.write("run.csv", "somebody else's");
    EXPECT_THROW(part.settle(), Failure);
  }
  EXPECT_EQ(folder_.read("run.csv"), "somebody else's");
  EXPECT_EQ(folder_.read("run.csv.part"), "new");
}

}  // namespace
