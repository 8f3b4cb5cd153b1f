// A host records simulated gloves in virtual time: checks every element and timestamp against what was sent.

#include <map>

#include "tests/core/CoreFixture.h"

namespace {

using simulator::Glove;
using simulator::SentFrame;

class EndToEnd : public CoreTest {
 public:
  static constexpr std::size_t perGlove = 125;
  // Frames until the filter has settled after the late read of the first one.
  static constexpr std::size_t settled = 200;

  // The object closes its link while the gloves still send, so it must go before what records them.
  ~EndToEnd() override { tessel_.reset(); }

  Glove& addRecorded(const std::string& name, std::uint8_t address)
  {
    Glove& glove = addGlove(name, address);
    glove.onFrame = [this, &glove](const SentFrame& frame) {
      sent_[&glove][frame.samples] = {frame.number, platform_.clock.now()};
    };
    return glove;
  }

  void configure(const std::string& lines, std::vector<std::int32_t> indices = {})
  {
    make(lines);
    ASSERT_EQ(tessel_->configure(), 0) << testing::PrintToString(tessel_->lastError_);
    install(std::move(indices));
  }

  // Reads until this time; returns the result of the last read.
  std::int32_t readUntil(std::int64_t endMs)
  {
    std::int32_t result = 0;
    while (nowMs() < endMs && result == 0) {
      result = tessel_->readRecord();
    }
    return result;
  }

  struct Sent {
    std::uint64_t number;
    VirtualClock::Duration at;
  };

  // The frame of the glove that this part of a record contains; nothing if the glove did not send it.
  std::optional<Sent> frameOf(const Glove& glove, const HostRecord::Record& record, std::size_t first) const
  {
    const auto begin = record.elements.begin() + static_cast<std::ptrdiff_t>(first);
    const auto entry = sent_.at(&glove).find(std::vector<std::uint16_t>(begin, begin + perGlove));
    return entry == sent_.at(&glove).end() ? std::nullopt : std::optional(entry->second);
  }

  std::map<const Glove*, std::map<std::vector<std::uint16_t>, Sent>> sent_;
};

const std::string one = "TesselElementCount\t125\nTesselNumSensors\t1\n";
const std::string two = "TesselElementCount\t250\nTesselNumSensors\t2\nTesselNumBleModules\t2\n";

TEST_F(EndToEnd, TheLeftGloveIsFirstWhicheverAdvertisedFirst)
{
  const auto& right = addRecorded("KVXGR00002", 2);
  const auto& left = addRecorded("KVXGL00001", 1);
  configure(two);
  ASSERT_EQ(readUntil(30'000), 0);
  ASSERT_GT(record_->records.size(), 1150U);
  std::optional<Sent> last;
  std::uint32_t lastTimestamp = 0;
  std::size_t frames = 0;
  for (const auto& record : record_->records) {
    const auto leftFrame = frameOf(left, record, 0);
    const auto rightFrame = frameOf(right, record, perGlove);
    ASSERT_TRUE(leftFrame && rightFrame);
    if (last) {
      EXPECT_EQ(leftFrame->number, last->number + 1);
      EXPECT_NEAR(record.timestamp - lastTimestamp, 25, frames++ < settled ? 5 : 2);
    }
    last = leftFrame;
    lastTimestamp = record.timestamp;
  }
}

TEST_F(EndToEnd, SilenceEndsTheReading)
{
  const struct {
    const char* name;
    std::function<void(EndToEnd& test, Glove& left, Glove& right)> begin;
    std::int64_t afterMs;
  } cases[] = {
      {"one glove falls silent", [](auto&, auto& left, auto&) { left.fallSilent(); }, 4000},
      {"both fall silent", [](auto&, auto& left, auto& right) { left.fallSilent(), right.fallSilent(); },
       2000},
      {"a glove leaves", [](auto& test, auto& left, auto&) { test.dongle_.drop(left, 0x0213); }, 4000},
      {"the dongle is pulled", [](auto& test, auto&, auto&) { test.port_.present = false; }, 0},
  };
  auto& left = addRecorded("KVXGL00001", 1);
  auto& right = addRecorded("KVXGR00002", 2);
  for (const auto& [name, begin, afterMs] : cases) {
    SCOPED_TRACE(name);
    left.comeBack();
    right.comeBack();
    configure(two + "TesselReadTimeout\t4000\n");
    ASSERT_EQ(readUntil(nowMs() + 2000), 0);
    begin(*this, left, right);
    const std::int64_t before = nowMs();
    EXPECT_EQ(readUntil(before + 60'000), -1);
    EXPECT_NEAR(static_cast<double>(nowMs() - before), static_cast<double>(afterMs), 60);
    EXPECT_GT(record_->records.size(), 30U);
  }
}

class EndToEndDrift : public EndToEnd, public testing::WithParamInterface<double> {};

// The device clock wraps every 6.5 s, which must not be visible.
TEST_P(EndToEndDrift, FollowsTheHostsClockForAnHour)
{
  auto& glove = addGlove("KVXGL00001");
  glove.config.clockError = GetParam();
  glove.config.packetsPerFrame = 2;
  configure("TesselElementCount\t17\nTesselNumSensors\t1\n");
  // No transcript, because an hour is too long for one.
  dongle_.onSend = [this](std::span<const std::uint8_t> message) {
    arrive({message.begin(), message.end()});
  };
  ASSERT_EQ(readUntil(3'600'000), 0);
  const auto& records = record_->records;
  ASSERT_GT(records.size(), 143'900U);
  for (std::size_t index = settled; index < records.size(); ++index) {
    const auto step = static_cast<std::int32_t>(records[index].timestamp - records[index - 1].timestamp);
    ASSERT_NEAR(step, 25, 2) << "record " << index;
  }
  // The latest frame is up to one period old, and waited up to one connection interval.
  EXPECT_NEAR(static_cast<std::int32_t>(clock() - records.back().timestamp), 0, 25 + 10);
}

INSTANTIATE_TEST_SUITE_P(FastAndSlow, EndToEndDrift, testing::Values(75e-6, -75e-6));

}  // namespace
