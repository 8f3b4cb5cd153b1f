// Stand-ins for gloves and for the file of a recording.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <vector>

#include "host/gloves/RecordSource.h"
#include "host/recording/RecordSink.h"

// Gloves that send a record every 25 ms of a virtual clock, which each read moves by 5 ms.
class FakeGloves final : public RecordSource {
 public:
  using Time = std::chrono::nanoseconds;

  bool read() override
  {
    if (failAt && now >= *failAt) throw Failure(ExitCode::silence, "the dongle is gone.", "");
    link_.beginRead(now);
    now += std::chrono::milliseconds(5);
    const bool isNew = now % std::chrono::milliseconds(25) == std::chrono::milliseconds(0) &&
                       now >= silentUntil && now < silentFrom;
    if (isNew) {
      store_.map[0] = static_cast<unsigned short>(now / std::chrono::milliseconds(1));
      *store_.stampCell() = static_cast<std::uint32_t>(60'000 + now / std::chrono::milliseconds(1)) -
                            (now > jumpAt ? 10'000 : 0);
    }
    EXPECT_EQ(link_.endRead(now, isNew ? TurnResult::record : TurnResult::nothing),
              LinkWatch::Verdict::alive);
    return isNew;
  }
  void close() override {}
  const plugin::RecordStore& store() const override { return store_; }
  const LinkWatch& link() const override { return link_; }
  Failure linkFailure(LinkWatch::Verdict) const override
  {
    return {ExitCode::silence, "the link was lost.", ""};
  }
  std::optional<double> battery() override { return 0.5; }

  Time now{0};
  Time silentUntil{0};
  Time silentFrom{std::chrono::hours(1)};
  Time jumpAt{std::chrono::hours(1)};  // back, of the timestamps
  std::optional<std::chrono::nanoseconds> failAt;

 private:
  plugin::RecordStore store_{4};
  LinkWatch link_;
};

class KeepingSink final : public RecordSink {
 public:
  void add(const Record& record) override
  {
    if (records.size() == capacity) throw Failure(ExitCode::output, "the disk is full.", "");
    records.push_back(record);
    frames.emplace_back(record.frames.begin(), record.frames.end());
  }

  std::vector<Record> records;  // without their spans
  std::vector<std::vector<GloveFrame>> frames;
  std::size_t capacity = 1'000'000;
};
