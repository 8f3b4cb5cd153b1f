#include "host/doctor/Storage.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace {

TEST(Storage, IsComparedWithWhatARecordingNeeds)
{
  using Result = Step::Result;
  const struct {
    std::uint64_t freeBytes;
    double bytesPerSecond;
    Result result;
    const char* text;
    const char* fix;
  } rows[] = {
      {9'000'000'000, 50e6, Result::ok, "9.0 GB free, for 10 hours", ""},
      {800'000'000, 50e6, Result::warning, "0.8 GB free, for 0.9 hours", "Free some space"},
      {9'000'000'000, 2e6, Result::warning, "2.0 MB/s", "faster disk"},
  };
  for (const auto& [freeBytes, bytesPerSecond, result, text, fix] : rows) {
    const Step step =
        storageStep({.freeBytes = freeBytes, .bytesPerSecond = bytesPerSecond, .failure = {}}, "out");
    EXPECT_EQ(step.result, result) << step.text;
    EXPECT_NE(step.text.find(text), std::string::npos) << step.text;
    EXPECT_NE(step.fix.find(fix), std::string::npos) << step.fix;
  }
}

TEST(Storage, IsMeasuredInAFolderThatStaysAsItWas)
{
  const TemporaryFolder folder;
  folder.write("tessel-doctor", "the user's own");
  const Storage storage = measureStorage(folder.path());
  EXPECT_FALSE(storage.failure) << storage.failure->what();
  EXPECT_GT(storage.bytesPerSecond, 0);
  EXPECT_GT(storage.freeBytes, 0U);
  EXPECT_EQ(folder.list(), "tessel-doctor");
  EXPECT_EQ(folder.read("tessel-doctor"), "the user's own");
}

TEST(Storage, FailsWhereNothingCanBeWritten)
{
  const TemporaryFolder folder;
  folder.write("file", "");
  for (const char* const name : {"missing", "file"}) {
    const Step step = storageStep(measureStorage(folder / name), folder / name);
    EXPECT_EQ(step.result, Step::Result::failed);
    EXPECT_EQ(step.code, ExitCode::output);
    EXPECT_NE(step.text.find("can't be created"), std::string::npos) << step.text;
    EXPECT_FALSE(step.fix.empty());
  }
}

}  // namespace
