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
