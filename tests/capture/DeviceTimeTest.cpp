// The fitted time of simulated gloves, compared with the time at which they sampled.

#include "host/capture/DeviceTime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <vector>

#include "simulator/Dongle.h"
#include "simulator/RandomFaults.h"

namespace {

using namespace std::chrono_literals;
using simulator::Duration;

// In units of 1.25 ms.
constexpr std::uint8_t tenMs = 8, twentyMs = 16, twentyFiveMs = 20;

// How long the phase between frames and connection events needs to sweep the interval.
enum class Sweep { fast, slow, none };

struct Scenario {
  const char* name;
  double hertz;
  double ppm;
  std::vector<std::uint8_t> intervals;  // more than one: it changes every 20 s
  int seconds;
  Sweep sweep;
  double lossPercent = 0;
  bool pauses = false;  // the host stops reading for 500 ms, every 30 s
  std::uint8_t packets = 2;
  // Every 2 minutes the glove is away for 5 s: out of range, with frames that wait, or disconnected.
  enum { stays, leavesRange, disconnects } dropout = stays;
};

void PrintTo(const Scenario& scenario, std::ostream* stream)
{
  *stream << scenario.name;
}

const Scenario scenarios[] = {
    // A fast sweep takes at most 4 s, a slow one at most 200 s.
    {"swept", 39.7, 0, {tenMs}, 120, Sweep::fast},
    {"sweptFastCrystal", 39.7, 50, {tenMs}, 600, Sweep::fast},
    {"sweptSlowCrystal", 39.7, -50, {tenMs}, 600, Sweep::fast},
    {"sweptVeryFastCrystal", 39.7, 200, {tenMs}, 600, Sweep::fast},
    {"sweptVerySlowCrystal", 39.7, -200, {tenMs}, 600, Sweep::fast},
    {"sweptIn20Ms", 49.3, 50, {twentyMs}, 300, Sweep::fast},
    {"sweptIn25Ms", 99.1, -50, {twentyFiveMs}, 300, Sweep::fast},
    {"sweptWithLosses", 39.7, 50, {tenMs}, 300, Sweep::fast, 5},
    {"sweptWithFullFrames", 39.7, -200, {tenMs}, 120, Sweep::fast, 1, true, 14},
    {"sweptWithPauses", 39.9, 200, {tenMs}, 300, Sweep::fast, 1, true},
    {"sweptOutOfRange", 39.7, -200, {tenMs}, 300, Sweep::fast, 1, true, 2, Scenario::leavesRange},
    {"sweptReconnected", 39.7, -200, {twentyFiveMs}, 300, Sweep::fast, 1, true, 2, Scenario::disconnects},
    {"sweptIntervalChanges", 39.7, 50, {tenMs, twentyFiveMs}, 300, Sweep::fast, 1},
    {"still", 40, 0, {tenMs}, 120, Sweep::none},
    {"stillFast", 100, 0, {tenMs}, 120, Sweep::none, 1, true},
    {"stillIn20Ms", 50, 0, {twentyMs}, 120, Sweep::none},
    {"stillIn25Ms", 40, 0, {twentyFiveMs}, 120, Sweep::none, 5, true},
    {"stillIntervalChanges", 40, 0, {twentyMs, twentyFiveMs}, 300, Sweep::none, 1},
    {"sweptIn50s", 20, 200, {tenMs}, 600, Sweep::slow, 1, true},
    {"sweptIn50sBackwards", 33.333, -200, {tenMs}, 600, Sweep::slow},
    {"sweptIn125s", 40, 200, {twentyFiveMs}, 600, Sweep::slow, 5, true},
    {"sweptIn125sBackwards", 40, -200, {twentyFiveMs}, 600, Sweep::slow},
    {"sweptIn100s", 40, 50, {tenMs}, 600, Sweep::slow},
    {"sweptIn100sBackwards", 40, -50, {tenMs}, 600, Sweep::slow},
    {"sweptIn500s", 40, 50, {twentyFiveMs}, 600, Sweep::none, 1, true},
    {"sweptIn500sBackwards", 40, -50, {twentyFiveMs}, 600, Sweep::none},
};

class DeviceTimeOf : public testing::TestWithParam<Scenario> {
 protected:
  DeviceTimeOf()
  {
    glove_.config.framesPerSecond = scenario_.hertz;
    glove_.config.clockError = scenario_.ppm * 1e-6;
    glove_.config.packetsPerFrame = scenario_.packets;
    random_.lossPercent = scenario_.lossPercent;
    glove_.faults.packetFault = [this](std::uint64_t packet) { return random_(packet); };
    glove_.onFrame = [this](const simulator::SentFrame& frame) { sampled_[frame.ticks] = clock_.now(); };
    dongle_.onSend = [this](std::span<const std::uint8_t> message) { hear(message); };
  }

  void connect()
  {
    std::vector<std::uint8_t> connect{0, 15, 6, 3, 0, tenMs, 0, tenMs, 0, 0xE8, 3, 0, 0};
    const auto& address = glove_.config.address;
    connect.insert(connect.begin() + 4, address.begin(), address.end());
    dongle_.receive(connect);
    clock_.advance(100ms);
    changeInterval();
    clock_.advance(300ms);
    sampled_.clear();
    ticks_ = 0;
    time_.restart();
    begin_ = clock_.now();
    before_.reset();
    dongle_.receive(std::vector<std::uint8_t>{0, 6, 4, 5, 0, 18, 0, 2, 1, 0});
  }
  void changeInterval()
  {
    const std::uint8_t interval = scenario_.intervals[changes_++ % scenario_.intervals.size()];
    dongle_.receive(std::vector<std::uint8_t>{0, 9, 3, 2, 0, interval, 0, interval, 0, 0, 0, 0xE8, 3});
  }

  void hear(std::span<const std::uint8_t> message)
  {
    const bool isFirstPacket = message.size() == 29 && message[5] == 17 && (message[9] & 0x0F) == 0;
    if (!isFirstPacket) return;
    const auto clock = static_cast<std::uint16_t>(message[11] << 8 | message[12]);
    ticks_ += static_cast<std::uint16_t>(clock - ticks_);
    unread_.push_back(ticks_);
    if (!isPaused_) read();
  }
  void read()
  {
    for (const std::int64_t ticks : unread_) {
      time_.addArrival(ticks, clock_.now());
    }
    for (const std::int64_t ticks : unread_) {
      check(ticks, time_.timeOf(ticks).value());
    }
    unread_.clear();
  }

  void check(std::int64_t ticks, DeviceTime::Time time)
  {
    ++frames_;
    ASSERT_GE(time, latest_) << "the time goes back";
    latest_ = time;
    if (before_) {
      const double passedMs = static_cast<double>(ticks - before_->ticks) / 10;
      ASSERT_NEAR(msOf(time - before_->time), passedMs, passedMs * 0.005 + 1e-5)
          << "at " << clock_.now().count();
    }
    before_ = {ticks, time};
    const Duration sampled = sampled_.at(ticks);
    const double error = std::abs(msOf(time - sampled));
    if (sampled - begin_ >= 5s) error_ = std::max(error_, error);
    if (sampled >= 1s * scenario_.seconds / 2 && sampled - begin_ >= 5s)
      lateError_ = std::max(lateError_, error);
    sampled_.erase(sampled_.begin(), sampled_.lower_bound(ticks));
  }
  static double msOf(auto duration) { return std::chrono::duration<double, std::milli>(duration).count(); }

  void run()
  {
    connect();
    for (int second = 1; second <= scenario_.seconds; ++second) {
      if (second % 20 == 0 && scenario_.intervals.size() > 1) changeInterval();
      if (second % 120 == 40 && scenario_.dropout == Scenario::leavesRange) glove_.leaveRange();
      if (second % 120 == 45 && scenario_.dropout == Scenario::leavesRange) glove_.comeBack();
      if (second % 120 == 40 && scenario_.dropout == Scenario::disconnects) dongle_.drop(glove_, 0x0208);
      if (second % 120 == 45 && scenario_.dropout == Scenario::disconnects) connect();
      isPaused_ = scenario_.pauses && second % 30 == 17;
      clock_.advance(500ms);
      isPaused_ = false;
      read();
      clock_.advance(1s * second - clock_.now());
    }
  }

  struct Before {
    std::int64_t ticks;
    DeviceTime::Time time;
  };

  const Scenario& scenario_ = GetParam();
  VirtualClock clock_;
  simulator::Dongle dongle_{clock_};
  simulator::Glove& glove_ = dongle_.addGlove({});
  simulator::RandomFaults random_{1};
  std::map<std::int64_t, Duration> sampled_;  // by ticks
  std::int64_t ticks_ = 0;
  std::vector<std::int64_t> unread_;
  bool isPaused_ = false;
  std::size_t changes_ = 0;
  DeviceTime time_;
  int frames_ = 0;
  DeviceTime::Time latest_{};
  std::optional<Before> before_;
  Duration begin_{};
  double error_ = 0, lateError_ = 0;  // largest; 5 s after a connection, and of these in the second half
};

// The simulated delay besides waiting is 0, so that the difference is the error. docs/time.md has the table.
TEST_P(DeviceTimeOf, IsCloseToTheSampling)
{
  run();
  const double interval = 1.25 * *std::ranges::max_element(scenario_.intervals);
  const double clockError = time_.clockError().value_or(0) * 1e6;
  std::printf("| %g | %+g | %g | %.2f | %.2f | %d | %.2f | %+.1f |\n", scenario_.hertz, scenario_.ppm,
              interval, error_, lateError_, time_.observedPhaseMs(), time_.residualMs(), clockError);
  EXPECT_GT(frames_, 0.75 * scenario_.hertz * scenario_.seconds);
  constexpr double resolution = 0.1;
  EXPECT_LE(error_, scenario_.sweep == Sweep::fast ? 1 : interval + resolution);
  EXPECT_LE(lateError_, scenario_.sweep == Sweep::none ? interval + resolution : 1);
  const double shortest = 1.25 * *std::ranges::min_element(scenario_.intervals);
  EXPECT_EQ(time_.observedPhaseMs() >= shortest - 1, scenario_.sweep == Sweep::fast);
  if (scenario_.sweep != Sweep::none) {
    EXPECT_NEAR(clockError, scenario_.ppm, 1);
  }
}

INSTANTIATE_TEST_SUITE_P(All, DeviceTimeOf, testing::ValuesIn(scenarios),
                         [](const auto& instance) { return std::string(instance.param.name); });

struct Jump {
  const char* name;
  std::int64_t ticks;
  bool isKnown;
};

TEST(DeviceTime, GoesOnWhenTheGlovesClockJumps)
{
  for (const auto& [name, ticks, isKnown] :
       {Jump{"forward", 30'000, false}, {"back", -30'000, false}, {"back, reported", -150'000, true}}) {
    DeviceTime time;
    DeviceTime::Time latest{};
    for (int frame = 0; frame < 2000; ++frame) {
      const bool hasJumped = frame >= 1000;
      const DeviceTime::Time arrival = frame * 25ms + 1h;
      if (isKnown && frame == 1000) time.restart();
      time.addArrival(frame * 250 + (hasJumped ? ticks : 0), arrival);
      time.addArrival(frame * 250 + (hasJumped ? ticks : 0), arrival + 8ms);  // a doubled packet
      latest = time.timeOf(frame * 250 + (hasJumped ? ticks : 0)).value();
      ASSERT_NEAR(static_cast<double>((latest - arrival).count()), 0, 1) << name << ", frame " << frame;
    }
  }
}

TEST(DeviceTime, FramesReadAtOnceHelpEachOther)
{
  DeviceTime time;
  for (int frame = 0; frame < 40; ++frame) {
    time.addArrival(frame * 250, 1s);
  }
  EXPECT_EQ(time.timeOf(0), 25ms) << "the last one was sampled when all arrived, or before";
}

}  // namespace
