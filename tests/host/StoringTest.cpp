// What a recording has on the disk, and when: what it shall survive.

#include <gtest/gtest.h>

#include <fstream>

#include "host/base/Failure.h"
#include "host/base/OutputFile.h"
#include "host/recording/RecordReader.h"
#include "host/recording/RecordingFiles.h"
#include "tests/support/NotingDisk.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

struct Form {
  RecordFormat format;
  std::string name;  // of the recording, and of a file with records while it grows
  std::string growing;
};
const Form forms[] = {{RecordFormat::csv, "run.csv", "run.csv.part"},
                      {RecordFormat::npy, "run.npy", "samples.npy"},
                      {RecordFormat::xdf, "run.xdf", "run.xdf.part"}};

class Storing : public testing::Test {
 public:
  void begin(const Form& form, std::chrono::nanoseconds interval, bool replaces = false)
  {
    files_.emplace(OutputName{folder_ / form.name, form.format}, replaces, SyncRules{interval, &disk_});
    RecordingMetadata metadata;
    metadata.layout = {.elements = 1, .groups = {{"left", "KVXGL00017", 0, 1}}};
    writer_ = &files_->begin(std::move(metadata));
    writer_->begin(0s);
  }

  void add(unsigned records)
  {
    for (unsigned record = 0; record < records; ++record) {
      const double ms = 25.0 * static_cast<double>(files_->metadata().records);
      const GloveFrame frame{.number = 0, .ticks = 0, .sampledMs = ms};
      const auto element = static_cast<std::uint16_t>(files_->metadata().records++);
      writer_->add(
          {.timeMs = ms, .arrivalMs = ms, .pluginMs = 0, .frames = {&frame, 1}, .elements = {&element, 1}});
    }
  }

  // Of a file that a reader, or a power cut, finds.
  std::size_t recordsAt(const std::string& name, std::vector<std::string>* notes = nullptr) const
  {
    const auto reader = openRecording(folder_ / name);
    std::size_t records = 0;
    while (const auto record = reader->next()) {
      EXPECT_EQ(record->elements[0], records) << name;
      ++records;
    }
    if (notes != nullptr) *notes = reader->notes();
    return records;
  }

  bool isThere(const std::string& name) const { return fs::exists(folder_ / name); }

  TemporaryFolder folder_;
  NotingDisk disk_;
  std::optional<RecordingFiles> files_;
  RecordWriter* writer_ = nullptr;
};

TEST_F(Storing, NothingHasItsNameBeforeTheDiskHasItsContentAndRecordsComeLast)
{
  const std::vector<std::string> companions{"run.json", "run.events.csv"};
  for (const bool replaces : {false, true}) {
    for (const Form& form : forms) {
      SCOPED_TRACE(form.name + (replaces ? ", replaced" : ""));
      begin(form, 0s, replaces);
      add(3);
      files_->addEvent({.event = "marker", .glove = {}, .detail = {}});
      const std::size_t before = disk_.notes().size();
      files_->complete();
      files_.reset();

      const auto all = disk_.notes();
      const std::vector notes(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
      ASSERT_FALSE(notes.empty());
      const auto isIn = [](const NotingDisk::Note& note, const std::string& name) {
        return std::ranges::find(note.there, name) != note.there.end();
      };
      EXPECT_EQ(notes.back().name, folder_.path().filename()) << "the disk has the names";
      EXPECT_TRUE(isIn(notes.back(), form.name));
      std::vector<std::string> named{form.name};
      if (form.format == RecordFormat::csv) named.insert(named.end(), companions.begin(), companions.end());
      for (const std::string& name : named) {
        if (form.format == RecordFormat::npy) {
          for (const auto& entry : fs::directory_iterator(folder_ / name)) {
            const auto isStored = [&](const NotingDisk::Note& note) {
              return note.name == entry.path().filename() && note.size == entry.file_size();
            };
            EXPECT_TRUE(std::ranges::any_of(notes, isStored)) << entry.path();
          }
          EXPECT_TRUE(
              std::ranges::any_of(notes, [&](const auto& note) { return note.name == name + ".part"; }));
          continue;
        }
        const std::uintmax_t size = fs::file_size(folder_ / name);
        bool isStored = false;
        for (const NotingDisk::Note& note : notes) {
          isStored = isStored || (note.name == name + ".part" && note.size == size);
          // Old ones are removed before the first new one gets its name.
          const bool isNamed = isIn(note, name) && !isIn(note, name + ".part");
          const bool areRecordsNamed = isIn(note, form.name) && !isIn(note, form.growing);
          EXPECT_TRUE(isStored || !isNamed) << name;
          EXPECT_TRUE(isNamed || !areRecordsNamed) << name;
          EXPECT_FALSE(isNamed && isIn(note, form.name) && isIn(note, form.growing)) << "old records";
        }
        EXPECT_TRUE(isStored) << name;
      }
    }
  }
}

TEST_F(Storing, HappensAtItsIntervalAndOnTheFirstOccasion)
{
  for (const Form& form : forms) {
    SCOPED_TRACE(form.name);
    begin(form, 2s);
    add(1);
    std::size_t expected = disk_.count(form.growing);
    const struct {
      RecordingFiles::Time now;
      bool isDue;
    } steps[] = {{100s, true},  {101s, false}, {101'999ms, false}, {102s, true},
                 {103s, false}, {107s, true},  {108s, false},      {109s, true}};
    for (const auto& [now, isDue] : steps) {
      files_->keepUp(now);
      if (isDue) disk_.waitFor(++expected, form.growing);
      EXPECT_EQ(disk_.count(form.growing), expected) << now.count();
    }
    if (form.format != RecordFormat::xdf) {
      const std::string metadata = form.format == RecordFormat::csv ? "run.json.part.new" : "meta.json.new";
      EXPECT_EQ(disk_.count(metadata), 1U) << "before it replaces what it was";
    }
    files_->discard();
    files_.reset();
  }
}

TEST_F(Storing, ASlowDiskDoesNotHoldUpWhoeverWrites)
{
  for (const Form& form : forms) {
    SCOPED_TRACE(form.name);
    disk_.hold(false);
    begin(form, 1s);
    add(1);
    disk_.hold(true);
    files_->keepUp(0s);
    disk_.waitForHeld();
    // A minute passes: this test would never end if one of these waited.
    for (std::chrono::seconds now = 1s; now <= 60s; ++now) {
      add(40);
      files_->addEvent({.event = "marker", .glove = {}, .detail = {}});
      files_->keepUp(now);
      EXPECT_FALSE(files_->takeDiskFailure());
    }
    const std::string growing = form.name + ".part";
    EXPECT_EQ(recordsAt(growing), 2401U) << "the system has them all";
    disk_.hold(false);
    files_->complete();
    files_.reset();
    EXPECT_EQ(recordsAt(form.name), 2401U);
  }
}

TEST_F(Storing, WhatTheDiskFailedToStoreIsReportedAndNeverCalledComplete)
{
  const auto ioError = std::make_error_code(std::errc::io_error);
  const auto full = std::make_error_code(std::errc::no_space_on_device);
  const struct {
    const char* description;
    std::error_code error;
    std::chrono::nanoseconds interval;
    std::string words;
  } cases[] = {{"while recording", ioError, 1s, "the disk did not store all of "},
               {"while recording, full", full, 1s, full.message()},
               {"at the end", ioError, 0s, ioError.message()}};
  for (const Form& form : forms) {
    for (const auto& [description, error, interval, words] : cases) {
      SCOPED_TRACE(form.name + " " + description);
      begin(form, interval, true);
      add(2);
      // Only once: that it works later proves nothing.
      bool hasFailed = false;
      disk_.onSync = [&, &file = form.growing, &reason = error](const NotingDisk::Note& note) {
        const bool fails = !hasFailed && note.name == file;
        hasFailed = hasFailed || fails;
        return fails ? reason : std::error_code();
      };
      if (interval > 0s) {
        const std::size_t before = disk_.count(form.growing);
        files_->keepUp(0s);
        disk_.waitFor(before + 1, form.growing);
        files_->keepUp(1s);
        disk_.waitFor(before + 2, form.growing);
        const auto failure = files_->takeDiskFailure();
        ASSERT_TRUE(failure) << "at once";
        EXPECT_NE(std::string(failure->what()).find(words), std::string::npos) << failure->what();
        EXPECT_FALSE(files_->takeDiskFailure()) << "once";
      }
      add(2);
      try {
        files_->complete();
        ADD_FAILURE();
      } catch (const Failure& failure) {
        EXPECT_EQ(failure.code(), ExitCode::output);
        EXPECT_NE(std::string(failure.what()).find(words), std::string::npos) << failure.what();
        EXPECT_FALSE(failure.advice().empty());
      }
      files_.reset();
      disk_.onSync = [](const NotingDisk::Note&) { return std::error_code(); };
      EXPECT_FALSE(isThere(form.name));
      EXPECT_EQ(recordsAt(form.name + ".part"), 4U) << "what is there stays";
      const auto reader = openRecording(folder_ / (form.name + ".part"));
      EXPECT_FALSE(form.format != RecordFormat::csv && reader->isComplete());
      while (reader->next()) {
      }
      EXPECT_NE(reader->metadata().ended.find(error.message()), std::string::npos);
    }
  }
}

TEST_F(Storing, AWholeFileThatTheDiskDoesNotHaveIsNone)
{
  folder_.write("settings", "old");
  disk_.onSync = [](const NotingDisk::Note&) { return std::make_error_code(std::errc::io_error); };
  EXPECT_THROW(replaceFile(folder_ / "settings", "new", disk_), Failure);
  {
    PartFile part(folder_ / "table.csv", PartFile::Kind::file, false, nullptr, disk_);
    EXPECT_THROW(part.settle(), Failure);
  }
  EXPECT_EQ(folder_.list(), "settings");
  EXPECT_EQ(folder_.read("settings"), "old");
}

TEST_F(Storing, TheSystemStoresFilesAndFoldersAndNothingElseIsAnError)
{
  folder_.write("file", "text");
  std::vector<fs::path> paths{folder_ / "file", folder_.path()};
#ifndef _WIN32
  paths.insert(paths.end(), {"/dev/null", "/dev/full", "/dev/stdout"});
#endif
  for (const fs::path& path : paths) {
    EXPECT_FALSE(Disk::ofSystem().open(path)->sync()) << path;
  }
  EXPECT_TRUE(Disk::ofSystem().open(folder_ / "missing")->sync());
}

// What a power cut may leave of the last part that the disk had not stored.
TEST_F(Storing, WhatACrashLeavesCanBeRead)
{
  constexpr std::size_t records = 100;
  const auto cut = [](const fs::path& file, std::uintmax_t bytes) {
    fs::resize_file(file, fs::file_size(file) - bytes);
  };
  const auto zero = [&cut](const fs::path& file, std::uintmax_t bytes, std::uintmax_t more) {
    cut(file, bytes);
    fs::resize_file(file, fs::file_size(file) + bytes + more);
  };
  const struct {
    const char* description;
    std::size_t form;
    std::function<void(const fs::path& place)> damage;
    std::size_t minRecords;  // records that are left
  } cases[] = {
      {"a line is cut", 0, [&](auto& file) { cut(file, 5); }, records - 1},
      {"zeros to the end", 0, [&](auto& file) { zero(file, 100, 5000); }, records - 5},
      {"many zeros", 0, [&](auto& file) { zero(file, 100, 2 << 20); }, records - 5},
      {"zeros within", 0,
       [&](auto& file) {
         const std::string rest = "\n2500.00,2500.00,0,0,0,2500.00,";
         zero(file, 100, 400);
         std::ofstream(file, std::ios::app | std::ios::binary) << rest;
       },
       records - 5},
      {"no metadata", 0, [](auto& file) { fs::resize_file(file.parent_path() / "run.json.part", 0); },
       records},
      {"metadata ahead", 0,
       [](auto& file) { fs::rename(file.parent_path() / "run.json.part", file.parent_path() / "run.json"); },
       records},
      {"headers ahead of rows", 1, [&](auto& folder) { cut(folder / "samples.npy", 2 * 3 + 1); },
       records - 4},
      {"an array behind", 1, [&](auto& folder) { cut(folder / "left_ms.npy", 8 * 7); }, records - 7},
      {"a chunk is cut", 2, [&](auto& file) { cut(file, 30); }, records - 2},
      {"zeros to the end", 2, [&](auto& file) { zero(file, 200, 5000); }, records - 10},
  };
  for (const auto& [description, index, damage, minRecords] : cases) {
    const Form& form = forms[index];
    SCOPED_TRACE(form.name + ": " + description);
    begin(form, 0s, true);
    add(records);
    files_->keepUp(0s);
    files_.reset();  // as it is when the program is killed
    const std::string place = form.name + ".part";
    damage(folder_ / place);
    std::vector<std::string> notes;
    EXPECT_GE(recordsAt(place, &notes), minRecords);
    EXPECT_FALSE(notes.empty());
    fs::remove(folder_ / "run.json");
  }
}

}  // namespace
