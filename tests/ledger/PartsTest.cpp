// Recordings in files of random parts of a session with losses and reconnections: each has the session's
// records, rebased, and books that balance by themselves; together they have the session's books.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>

#include "host/recording/RecordReader.h"
#include "host/session/BooksText.h"
#include "host/session/FileRecording.h"
#include "tests/ledger/RandomDropouts.h"
#include "tests/support/FromEnvironment.h"
#include "tests/support/TemporaryFolder.h"

namespace {

constexpr std::array names{"part.csv", "part.npy", "part.xdf"};
const std::vector<std::string> labels{"left", "right"};

void add(Books& sum, const Books& part)
{
  using Lost = GloveBooks::Lost;
  sum.gloves.resize(part.gloves.size());
  for (std::size_t glove = 0; glove < part.gloves.size(); ++glove) {
    GloveBooks& own = sum.gloves[glove];
    const GloveBooks& more = part.gloves[glove];
    own.sent += more.sent;
    own.repeated += more.repeated;
    own.recorded += more.recorded;
    own.ambiguous += more.ambiguous;
    own.awaySeconds += more.awaySeconds;
    for (const auto cause : {&Lost::unheard, &Lost::radio, &Lost::refused, &Lost::faulty, &Lost::pairing,
                             &Lost::queued, &Lost::discarded}) {
      own.lost.*cause += more.lost.*cause;
    }
  }
}

// Of a record, by the session's time.
struct Kept {
  double timeMs, arrivalMs;
  std::vector<std::int64_t> numbers;
  std::vector<std::uint16_t> elements;
};

class PartsRecorder final : public SessionFollower {
 public:
  explicit PartsRecorder(std::uint64_t seed) : random_(seed)
  {
    metadata_.layout = {.elements = 250, .groups = {{"left", "", 0, 125}, {"right", "", 125, 125}}};
    metadata_.gloves.resize(2);
  }

  void follow(const Layout&, const RecordKeeper& keeper, const Recorder& recorder, const HostTime&) override
  {
    keeper_ = &keeper;
    recorder_ = &recorder;
  }

  void add(const Record& record) override
  {
    if (!part_) beginPart();
    if (kept_.empty()) noteLostBefore(keeper_->cut()->before());
    part_->add(record);
    latest_ = keeper_->cut()->after();
    Kept& kept = kept_.emplace_back(Kept{.timeMs = record.timeMs,
                                         .arrivalMs = record.arrivalMs,
                                         .numbers = {},
                                         .elements = {record.elements.begin(), record.elements.end()}});
    for (const GloveFrame& frame : record.frames) {
      kept.numbers.push_back(frame.number);
    }
    if (kept_.size() % 100 == 0) part_->keepUp(recorder_->figures());
    if (kept_.size() == length_) complete({});
  }
  void event(const RecordingEvent& event) override
  {
    if (part_) part_->addEvent(event);
  }
  void end(const Books& books) override
  {
    if (part_) {
      complete(books);
    } else {
      noteLostBefore(books);
    }
  }

  Books sum;  // of the parts, and of what was lost between them
  std::size_t parts = 0;
  std::uint64_t records = 0;
  std::size_t reconnections = 0;

 private:
  void beginPart()
  {
    length_ = std::uniform_int_distribution<std::size_t>(1, 400)(random_);
    const std::string name = names[parts % names.size()];
    part_ = std::make_unique<FileRecording>(OutputName{folder_ / name, *formatOf(name)}, true, metadata_,
                                            *keeper_);
  }

  // From the latest record of a part to another state of the books.
  void noteLostBefore(const Books& books)
  {
    if (latest_.gloves.empty()) latest_.gloves.resize(books.gloves.size());
    const Books between = partOf(latest_, books);
    EXPECT_FALSE(booksFailure(between, labels)) << booksFailure(between, labels)->what();
    EXPECT_EQ(between.gloves[0].recorded, 0U);
    ::add(sum, between);
  }

  void complete(const std::optional<Books>& end)
  {
    SCOPED_TRACE(parts);
    const auto [place, books] = part_->complete(recorder_->figures(), end, "as requested.");
    part_.reset();
    ASSERT_TRUE(books);
    EXPECT_FALSE(booksFailure(*books, labels)) << booksFailure(*books, labels)->what();
    EXPECT_EQ(books->balanced(), true);
    for (const GloveBooks& glove : books->gloves) {
      EXPECT_EQ(glove.recorded, kept_.size());
    }
    ::add(sum, *books);
    compare(place, *books);
    ++parts;
    records += kept_.size();
    kept_.clear();
  }

  void compare(const std::filesystem::path& place, const Books& books)
  {
    constexpr double written = 0.0051;  // in CSV
    const auto reader = openRecording(place);
    const double firstMs = kept_.front().timeMs;
    for (const Kept& kept : kept_) {
      const auto record = reader->next();
      ASSERT_TRUE(record);
      ASSERT_NEAR(record->timeMs, kept.timeMs - firstMs, written);
      ASSERT_NEAR(record->arrivalMs, kept.arrivalMs - firstMs, written);
      ASSERT_TRUE(std::ranges::equal(record->elements, kept.elements));
      ASSERT_TRUE(std::ranges::equal(record->frames, kept.numbers, {}, &GloveFrame::number));
      ASSERT_NEAR(record->frames[0].sampledMs, record->timeMs, written);
    }
    EXPECT_FALSE(reader->next());
    const auto events = reader->events();
    for (const RecordingEvent& event : events) {
      EXPECT_GE(event.timeMs, 0) << event.event;
    }
    const RecordingMetadata& metadata = reader->metadata();
    EXPECT_TRUE(reader->notes().empty()) << reader->notes().front();
    EXPECT_EQ(metadata.records, kept_.size());
    EXPECT_EQ(metadata.books, booksJson(books, labels));
    EXPECT_EQ(metadata.gloves.at(1).disconnectedSeconds, books.gloves[1].awaySeconds);
    EXPECT_NEAR(static_cast<double>((*metadata.zero - *keeper_->zero()).count()), firstMs * 1e6, 1);
    for (const Reconnection& each : metadata.reconnections) {
      EXPECT_GE(each.lostMs, 0);
      EXPECT_FALSE(each.backMs > kept_.back().timeMs - firstMs);
      if (!std::isnan(each.backMs)) ++reconnections;
    }
  }

  std::mt19937_64 random_;
  TemporaryFolder folder_;
  RecordingMetadata metadata_;
  const RecordKeeper* keeper_ = nullptr;
  const Recorder* recorder_ = nullptr;
  std::unique_ptr<FileRecording> part_;
  std::size_t length_ = 0;
  std::vector<Kept> kept_;  // of this part
  Books latest_;            // just after its latest record
};

TEST(Parts, HaveBooksThatBalanceAndTogetherThoseOfTheSession)
{
  const auto seed = static_cast<std::uint64_t>(fromEnvironment("TESSEL_LEDGER_SEED", 20261122));
  constexpr double seconds = 6 * dropoutInterval;
  SessionPlan plan = randomDropouts(seed, seconds);
  plan.setup = {"loss 1"};
  PartsRecorder parts(seed);
  plan.follower = &parts;
  const SessionResult result = record(plan);
  EXPECT_EQ(result.differences, "");
  EXPECT_EQ(parts.records, result.records);
  EXPECT_GT(parts.parts, 20U);
  EXPECT_GT(parts.reconnections, 0U);
  for (std::size_t glove = 0; glove < 2; ++glove) {
    GloveBooks& sum = parts.sum.gloves[glove];
    EXPECT_NEAR(sum.awaySeconds, result.books.gloves[glove].awaySeconds, 1e-6);
    sum.awaySeconds = result.books.gloves[glove].awaySeconds;
    EXPECT_EQ(sum, result.books.gloves[glove]) << framesText(sum);
  }
}

}  // namespace
