// Hours of recording into files at the highest rate that the radio carries, in virtual time: the books
// balance, all records are in the files, and what the program holds stays as it was after two minutes.
// CONTRIBUTING.md says how to record a day.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>

#include "host/base/System.h"
#include "host/recording/RecordReader.h"
#include "host/recording/RecordingFiles.h"
#include "host/session/SessionMetadata.h"
#include "tests/ledger/VirtualSession.h"
#include "tests/support/FromEnvironment.h"
#include "tests/support/ProcessUse.h"
#include "tests/support/TemporaryFolder.h"

namespace {

struct Held {
  std::size_t heap = heapBytes();
  std::size_t handles = openHandles();
  std::uint64_t peakKiB = host::peakMemoryKiB();
};

// Writes the files of a session.
class FileFollower final : public SessionFollower {
 public:
  explicit FileFollower(const OutputName& output) : files_(output, false) {}

  void follow(const Layout& layout, const RecordKeeper&, const Recorder&, const HostTime& time) override
  {
    RecordingMetadata metadata;
    metadata.layout = layout;
    metadata.gloves.resize(2);
    writer_ = &files_.begin(metadata);
    now_ = time.now;
  }
  void begin(std::chrono::nanoseconds zero) override { writer_->begin(zero); }
  void add(const Record& record) override { writer_->add(record); }
  void event(const RecordingEvent& event) override { files_.addEvent(event); }
  void recording(const RecordingFigures& figures) override
  {
    update(files_.metadata(), figures);
    files_.keepUp(now_());
    if (figures.seconds < next_) return;
    next_ = figures.seconds + 60;
    if (figures.seconds < 120) return;
    const Held held;
    if (!settled) settled = most = held;
    most = {.heap = std::max(most->heap, held.heap),
            .handles = std::max(most->handles, held.handles),
            .peakKiB = held.peakKiB};
  }
  void end(const Books&) override
  {
    files_.metadata().records = files_.records();
    files_.complete();
  }

  std::optional<Held> settled, most;  // after two minutes, and from then on

 private:
  RecordingFiles files_;
  RecordWriter* writer_ = nullptr;
  std::function<std::chrono::nanoseconds()> now_;
  double next_ = 120;
};

class LongRecording : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Format, LongRecording, testing::Values("csv", "npy", "xdf"));

TEST_P(LongRecording, HoldsNoMoreAfterHours)
{
  const double seconds = 3600 * fromEnvironment("TESSEL_RECORDING_HOURS", 0.1);
  const TemporaryFolder folder;
  const OutputName output{folder / (std::string("run.") + GetParam()), formatNamed(GetParam())};
  FileFollower files(output);
  SessionPlan plan{.setup = {"rate 50"}, .measuresTimes = false, .follower = &files};
  plan.rules.limits.seconds = seconds;
  for (double at = 30; at < seconds; at += 3600)
    plan.steps.push_back({at, "marker here"});
  const SessionResult result = record(plan);
  EXPECT_EQ(result.differences, "");
  EXPECT_EQ(result.books.balanced(), true);
  EXPECT_GT(static_cast<double>(result.records), 49.9 * seconds);

  ASSERT_TRUE(files.settled);
  const Held &before = *files.settled, &after = *files.most;
  std::printf(
      "%s: %.1f hours, %zu records; heap %zu bytes, at most %zu; memory %zu KiB, %zu; handles %zu, %zu\n",
      GetParam(), seconds / 3600, static_cast<std::size_t>(result.records), before.heap, after.heap,
      static_cast<std::size_t>(before.peakKiB), static_cast<std::size_t>(after.peakKiB), before.handles,
      after.handles);
  EXPECT_EQ(after.handles, before.handles);
#ifndef TESSEL_SANITIZED
  EXPECT_LE(after.heap, before.heap + 256 * 1024);
  EXPECT_LE(after.peakKiB, before.peakKiB + 2048);
#endif

  const auto reader = openRecording(output.path);
  std::uint64_t records = 0;
  while (reader->next())
    ++records;
  EXPECT_EQ(records, result.records);
  EXPECT_TRUE(reader->isComplete());
  EXPECT_EQ(reader->events().size(), plan.steps.size());
}

}  // namespace
