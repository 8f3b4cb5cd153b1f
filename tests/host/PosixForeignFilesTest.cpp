// What somebody put where the program writes: it is neither followed nor overwritten, and nothing waits for
// it.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/base/Failure.h"
#include "host/base/OutputFile.h"
#include "host/gloves/Plugin.h"
#include "host/recording/RecordingFiles.h"
#include "tests/support/Refusal.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

// Each at the place of a file.
const std::pair<const char*, void (*)(const fs::path& at, const fs::path& victim)> obstacles[] = {
    {"FIFO", [](const fs::path& at, const fs::path&) { ASSERT_EQ(::mkfifo(at.c_str(), 0600), 0); }},
    {"link to a device", [](const fs::path& at, const fs::path&) { fs::create_symlink("/dev/full", at); }},
    {"link to a file", [](const fs::path& at, const fs::path& victim) { fs::create_symlink(victim, at); }},
    {"link to nothing", [](const fs::path& at, const fs::path&) { fs::create_symlink("nowhere", at); }},
    {"folder", [](const fs::path& at, const fs::path&) { fs::create_directories(at / "mine"); }},
};

void recordInto(const OutputName& output, bool replaces)
{
  RecordingMetadata metadata;
  metadata.layout = {.elements = 1, .groups = {{"left", "KVXGL00017", 0, 1}}};
  RecordingFiles files(output, replaces);
  const GloveFrame unknown;
  const std::uint16_t element = 7;
  files.begin(metadata).add({.frames = {&unknown, 1}, .elements = {&element, 1}});
  files.keepUp(0s);
  files.addEvent({.event = "marker", .glove = {}, .detail = {}});
  files.complete();
}

TEST(ForeignFiles, AreNotTouchedByARecording)
{
  const std::pair<RecordFormat, const char*> places[] = {
      {RecordFormat::csv, "run.csv.part"},   {RecordFormat::csv, "run.json"},
      {RecordFormat::csv, "run.json.part"},  {RecordFormat::csv, "run.json.part.new"},
      {RecordFormat::csv, "run.events.csv"}, {RecordFormat::csv, "run.events.csv.part"},
      {RecordFormat::npy, "run.npy"},        {RecordFormat::npy, "run.npy.part"},
      {RecordFormat::xdf, "run.xdf.part"},
  };
  for (const auto& [format, place] : places) {
    for (const auto& [what, put] : obstacles) {
      for (const bool replaces : {false, true}) {
        SCOPED_TRACE(std::string(what) + " at " + place + (replaces ? ", replacing" : ""));
        const TemporaryFolder folder, other;
        other.write("victim", "mine");
        put(folder / place, other / "victim");
        const fs::file_type before = fs::symlink_status(folder / place).type();
        const std::string name = std::string("run.") + std::string(place).substr(4, 3);
        const OutputName output{folder / (format == RecordFormat::csv ? "run.csv" : name), format};
        const auto failure = failureOf([&, &to = output] { recordInto(to, replaces); });
        EXPECT_EQ(other.read("victim"), "mine");
        EXPECT_EQ(other.list(), "victim");
        const bool isLink = before == fs::file_type::symlink;
        if (!replaces || !isLink) {
          EXPECT_EQ(fs::symlink_status(folder / place).type(), before) << "it stays";
          EXPECT_TRUE(before != fs::file_type::directory || fs::exists(folder / place / "mine"));
        }
        if (failure) {
          EXPECT_EQ(failure->code(), ExitCode::output);
          EXPECT_FALSE(failure->advice().empty());
        } else {
          EXPECT_TRUE(fs::exists(output.path));
        }
      }
    }
  }
}

TEST(ForeignFiles, ALinkAsTheOutputLeadsToIt)
{
  const TemporaryFolder folder, other;
  fs::create_symlink(other / "new.csv", folder / "run.csv");
  for (const bool replaces : {false, true}) {
    recordInto({folder / "run.csv", RecordFormat::csv}, replaces);
    EXPECT_TRUE(fs::is_symlink(folder / "run.csv"));
    EXPECT_EQ(other.list(), "new.csv new.events.csv new.json");
  }
  EXPECT_EQ(folder.list(), "run.csv");
}

TEST(ForeignFiles, APipeThatNobodyReadsIsAnError)
{
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  const auto failure = failureOf([&] { OutputFile(folder / "fifo"); });
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code(), ExitCode::output);
  EXPECT_NE(failure->advice().find("start the reader first"), std::string::npos) << failure->advice();
}

TEST(ForeignFiles, InTheWorkingFolderAreNoPlugin)
{
  const TemporaryFolder folder;
  const fs::path before = fs::current_path();
  folder.write("HwTessel.so", "no plug-in");
  fs::current_path(folder.path());
  const std::string reason = refusal([] { pluginIn({"", "lib", "."}); });
  fs::current_path(before);
  EXPECT_NE(reason.find("is not known"), std::string::npos) << reason;
}

}  // namespace
