// Limits, figures and times of a recording without a capture. Its other endings are those of the sessions in
// tests/ledger.

#include "host/session/Recorder.h"

#include <gtest/gtest.h>

#include "host/gloves/RecordSource.h"

namespace {

using namespace std::chrono_literals;
using Time = Recorder::Time;

// Gloves that send a record every 25 ms of a virtual clock, which each read moves by 5 ms.
class Gloves final : public RecordSource {
 public:
  bool read() override
  {
    link_.beginRead(now);
    now += 5ms;
    const bool isNew = now % 25ms == 0ms && now >= silentUntil;
    if (isNew) {
      store_.map[0] = static_cast<unsigned short>(now / 1ms);
      *store_.stampCell() = static_cast<std::uint32_t>(60'000 + now / 1ms) - (now > jumpAt ? 10'000 : 0);
    }
    EXPECT_EQ(link_.endRead(now, isNew ? TurnResult::record : TurnResult::nothing),
              LinkWatch::Verdict::alive);
    return isNew;
  }
  void close() override {}
  const plugin::RecordStore& store() const override { return store_; }
  const LinkWatch& link() const override { return link_; }
  Failure linkFailure(LinkWatch::Verdict) const override { return {ExitCode::silence, "", ""}; }
  std::optional<double> battery() override { return 0.5; }

  Time now{0}, silentUntil{0};
  Time jumpAt{1h};  // back, of the timestamps

 private:
  plugin::RecordStore store_{4};
  LinkWatch link_;
};

// One recording of these gloves, which reaches its limit.
struct Recording final : RecordSink {
  explicit Recording(const RecordingLimits& limits)
      : recorder(layout, keeper, limits, [this] { return gloves.now; })
  {
  }
  void add(const Record& record) override
  {
    records.push_back(record);
    numbers.push_back(record.frames[0].number);
  }
  void run()
  {
    EXPECT_TRUE(recorder.run(gloves, stop, [](const RecordingFigures&) {}));
    EXPECT_EQ(recorder.figures().records, records.size());
  }

  Gloves gloves;
  Layout layout{.elements = 4, .groups = {{"left", "KVXGL00017", 0, 4}}};
  std::vector<Record> records;  // without their spans
  std::vector<std::int64_t> numbers;
  std::atomic<bool> stop{false};
  RecordKeeper keeper{layout, *this, nullptr};
  Recorder recorder;
};

TEST(Recorder, SecondsBeginWithTheFirstRecord)
{
  Recording recording({2.0, {}});
  recording.gloves.silentUntil = 3s;
  recording.run();
  EXPECT_EQ(recording.records.size(), 81U);
}

TEST(Recorder, FiguresAreOfWhatWasWritten)
{
  Recording recording({{}, 40});
  recording.run();
  const RecordingFigures& figures = recording.recorder.figures();
  EXPECT_EQ(figures.records, 40U);
  EXPECT_EQ(figures.highest, std::vector<std::uint16_t>{1000});
  EXPECT_NEAR(figures.seconds, 39 * 0.025, 1e-9);
  EXPECT_EQ(figures.battery, 0.5);
  EXPECT_EQ(figures.gaps.count(), 0U);
}

TEST(Recorder, TimesBeginAtZeroAndNeverDecrease)
{
  Recording recording({{}, 40});
  recording.gloves.jumpAt = 500ms;
  recording.run();
  for (std::size_t index = 0; index < recording.records.size(); ++index) {
    const Record& record = recording.records[index];
    const auto at = static_cast<double>(index);
    // Of the interval in which the timestamps jump, they report nothing.
    EXPECT_EQ(record.timeMs, 25 * (index < 20 ? at : at - 1));
    EXPECT_NEAR(record.arrivalMs, 25 * at, 1e-9);
    EXPECT_EQ(record.pluginMs, 60'025 + 25 * index - (index < 20 ? 0 : 10'000));
    EXPECT_EQ(recording.numbers[index], -1) << "unknown";
  }
}

}  // namespace
