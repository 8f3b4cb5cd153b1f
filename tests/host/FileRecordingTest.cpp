#include "host/session/FileRecording.h"

#include <gtest/gtest.h>

#include <array>

#include "host/recording/RecordReader.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace std::chrono_literals;

// A session without a capture, with a record every 25 ms.
class FileRecordingTest : public testing::Test, public RecordSink {
 public:
  FileRecordingTest()
  {
    metadata_.layout = layout_;
    metadata_.books = {{"balanced", true}};
    metadata_.records = 7;
    metadata_.zero = 1s;
  }

  void add(const Record& record) override
  {
    if (part_) part_->add(record);
  }
  void beginPart(const char* name)
  {
    part_ = std::make_unique<FileRecording>(OutputName{folder_ / name, *formatOf(name)}, false, metadata_,
                                            keeper_);
  }
  void deliver(std::uint16_t begin, std::uint16_t end)
  {
    for (std::uint16_t number = begin; number < end; ++number) {
      keeper_.add(100s + number * 25ms, 60'000U + number * 25U, std::array{number});
    }
  }

  TemporaryFolder folder_;
  const Layout layout_{.elements = 1, .groups = {{"left", "KVXGL00017", 0, 1}}};
  RecordingMetadata metadata_;
  RecordKeeper keeper_{layout_, *this, nullptr};
  RecordingFigures figures_;
  std::unique_ptr<FileRecording> part_;
};

TEST_F(FileRecordingTest, BeginsAtAnyRecordOfASession)
{
  figures_.reconnections = {{.reason = "before", .lostMs = 50, .backMs = 75},
                            {.reason = "within", .lostMs = 125, .backMs = 150},
                            {.reason = "at the end", .lostMs = 225, .backMs = 400},
                            {.reason = "later", .lostMs = 425},
                            {.reason = "unknown"}};
  deliver(0, 4);
  for (const char* const name : {"part.csv", "part.npy", "part.xdf"}) {
    SCOPED_TRACE(name);
    const double firstMs = keeper_.latestMs() + 25;
    beginPart(name);
    part_->addEvent({.timeMs = firstMs - 10, .event = "marker", .glove = {}, .detail = "before"});
    const auto first = static_cast<std::uint16_t>(keeper_.written());
    deliver(first, first + 6);
    part_->addEvent({.timeMs = firstMs + 60, .event = "marker", .glove = {}, .detail = "within"});
    part_->keepUp(figures_);
    const auto [place, books] = part_->complete(figures_, {}, "as requested.");
    part_.reset();
    EXPECT_EQ(place, folder_ / name);
    EXPECT_FALSE(books) << "without a capture";

    const auto reader = openRecording(place);
    for (std::uint16_t number = 0; number < 6; ++number) {
      const auto record = reader->next();
      ASSERT_TRUE(record);
      EXPECT_EQ(record->timeMs, 25 * number);
      EXPECT_EQ(record->arrivalMs, 25 * number);
      EXPECT_EQ(record->pluginMs, 60'000U + 25U * (first + number)) << "unchanged";
      EXPECT_EQ(record->elements[0], first + number);
    }
    EXPECT_FALSE(reader->next());
    const auto events = reader->events();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].timeMs, 0) << "with the first record";
    EXPECT_EQ(events[1].timeMs, 60);
    const RecordingMetadata& metadata = reader->metadata();
    EXPECT_EQ(metadata.zero, 100s + first * 25ms);
    EXPECT_TRUE(metadata.started);
    EXPECT_EQ(metadata.records, 6U);
    EXPECT_EQ(metadata.ended, "as requested.");
    EXPECT_TRUE(metadata.books.is_null());
    if (first > 4) continue;
    ASSERT_EQ(metadata.reconnections.size(), 2U);
    EXPECT_EQ(metadata.reconnections[0].lostMs, 25);
    EXPECT_EQ(metadata.reconnections[0].backMs, 50);
    EXPECT_EQ(metadata.reconnections[1].lostMs, 125);
    EXPECT_TRUE(std::isnan(metadata.reconnections[1].backMs)) << "the session's next record is not its own";
  }
}

TEST_F(FileRecordingTest, EndsWithoutARecordOrIncomplete)
{
  beginPart("part.csv");
  part_->addEvent({.timeMs = 1, .event = "marker", .glove = {}, .detail = {}});
  EXPECT_EQ(part_->complete(figures_, {}, "as requested.").place, "");
  part_.reset();
  EXPECT_EQ(folder_.list(), "") << "no record";

  beginPart("part.csv");
  deliver(0, 3);
  part_->abandon(figures_, "the disk is full.");
  part_.reset();
  const auto reader = openRecording(folder_ / "part.csv.part");
  EXPECT_EQ(reader->metadata().records, 3U);
  EXPECT_EQ(reader->metadata().ended, "the disk is full.");
}

}  // namespace
