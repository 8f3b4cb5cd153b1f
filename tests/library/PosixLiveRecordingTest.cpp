// The thread that reads the gloves does not wait for the disk of a recording, whatever becomes of it.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <array>

#include "library/LiveRecording.h"
#include "tests/support/NotingDisk.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;

// Writes beyond the present size of any file fail while it exists.
class FullDisk {
 public:
  FullDisk()
  {
    ::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &previous_);
    rlimit limit = previous_;
    limit.rlim_cur = 1;
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &previous_); }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit previous_{};
};

class LiveRecordings : public testing::Test, public RecordSink {
 public:
  void add(const Record& record) override { recording_.add(record); }

  void beginRecording()
  {
    RecordingMetadata metadata;
    metadata.layout = layout_;
    recording_.begin({.output = {folder_ / "run.csv", RecordFormat::csv}, .sync = {1s, &disk_}}, metadata,
                     keeper_);
  }
  void deliver()
  {
    const std::uint16_t number = number_++;
    keeper_.add(100s + number * 25ms, 60'000U + number * 25U, std::array{number});
  }
  // What stopping it reports; empty if it is complete.
  std::string stop()
  {
    try {
      recording_.stop({}, {"left"});
      return "";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), ExitCode::output);
      return failure.what();
    }
  }

  TemporaryFolder folder_;
  NotingDisk disk_;
  const Layout layout_{.elements = 1, .groups = {{"left", "KVXGL00017", 0, 1}}};
  std::vector<std::string> events_;
  std::uint16_t number_ = 0;
  library::LiveRecording recording_{[this](const std::string& detail) { events_.push_back(detail); }};
  RecordKeeper keeper_{layout_, *this, nullptr};
};

TEST_F(LiveRecordings, WithoutARecordLeaveNothing)
{
  beginRecording();
  recording_.addEvent({.timeMs = 1, .event = "marker", .glove = {}, .detail = {}});
  EXPECT_EQ(stop(), "");
  EXPECT_EQ(folder_.list(), "");
}

TEST_F(LiveRecordings, EndByThemselvesWhileTheDiskIsAtWork)
{
  beginRecording();
  deliver();
  disk_.hold(true);
  recording_.keepUp({});
  disk_.waitForHeld();
  {
    const FullDisk full;
    deliver();  // would wait for ever
  }
  EXPECT_FALSE(recording_.isRunning());
  ASSERT_EQ(events_.size(), 2U);
  EXPECT_NE(events_[1].find("failed: "), std::string::npos) << events_[1];
  deliver();
  disk_.hold(false);
  EXPECT_NE(stop(), "");
  EXPECT_NE(folder_.read("run.json.part").find("can't be written"), std::string::npos) << "why it ended";
  EXPECT_EQ(folder_.list(), "run.csv.part run.json.part");
}

TEST_F(LiveRecordings, GoOnWhenTheDiskFailsToStoreThemAndAreNotComplete)
{
  beginRecording();
  deliver();
  disk_.onSync = [](const NotingDisk::Note& note) {
    return std::make_error_code(note.name == "run.csv.part" ? std::errc::io_error : std::errc{});
  };
  recording_.keepUp({});
  disk_.waitFor(2, folder_.path().filename().string());
  recording_.keepUp({});
  ASSERT_EQ(events_.size(), 2U);
  EXPECT_NE(events_[1].find("not stored: "), std::string::npos) << events_[1];
  deliver();
  EXPECT_TRUE(recording_.isRunning());
  EXPECT_NE(stop().find("did not store"), std::string::npos);
  EXPECT_EQ(folder_.list(), "run.csv.part run.json.part");
}

}  // namespace
