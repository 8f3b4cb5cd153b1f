#include "host/streaming/StreamSink.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <map>
#include <utility>

#include "host/base/Failure.h"
#include "host/base/System.h"
#include "host/streaming/NetworkClock.h"

namespace {

using namespace std::chrono_literals;

// Keeps what is pushed. Its clock is an hour ahead.
class FakeNetwork final : public StreamNetwork {
 public:
  struct Sample {
    double ms;  // since the zero of the records
    std::vector<std::int32_t> values;
    std::string text;
  };

  double clock() const override { return std::chrono::duration<double>(host::uptime() + 1h).count(); }
  std::unique_ptr<Outlet> offer(const StreamDescription& stream, Values) override
  {
    if (stream.name == refused) throw Failure(ExitCode::plugin, "refused", "");
    for (const DescriptionNode& node : stream.desc.children) {
      if (node.name == "measured_srate") rates[stream.name] = node.value;
    }
    return std::make_unique<FakeOutlet>(*this, stream.name);
  }
  // While it is closed, each push waits.
  void open(bool isOpen)
  {
    const std::lock_guard lock(mutex_);
    isOpen_ = isOpen;
    changed_.notify_all();
  }

  const std::chrono::nanoseconds zero = host::uptime();
  std::string refused;
  // Once the sink is closed.
  std::map<std::string, std::vector<Sample>> streams;
  std::map<std::string, std::string> rates;

 private:
  struct FakeOutlet final : Outlet {
    FakeOutlet(FakeNetwork& itsNetwork, std::string itsName) : network(itsNetwork), name(std::move(itsName))
    {
    }
    bool push(double seconds, std::span<const std::int32_t> values) override
    {
      return network.keep(name, seconds, {0, {values.begin(), values.end()}, {}});
    }
    bool push(double seconds, const std::string& text) override
    {
      return network.keep(name, seconds, {0, {}, text});
    }
    bool hasReceivers() override { return false; }

    FakeNetwork& network;
    const std::string name;
  };

  bool keep(const std::string& name, double seconds, Sample sample)
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isOpen_; });
    sample.ms = (seconds - std::chrono::duration<double>(zero + 1h).count()) * 1000;
    streams[name].push_back(std::move(sample));
    return true;
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool isOpen_ = true;
};

const Layout layout{.elements = 5, .groups = {{"left", "L", 0, 2}, {"right", "R", 2, 2}, {"aux", "", 4, 1}}};
StreamDescription named(const std::string& name)
{
  StreamDescription stream;
  stream.name = name;
  return stream;
}

const std::vector<StreamDescription> groups{named("left"), named("right"), named("aux")};
const StreamDescription events = named("events");

void addRecord(StreamSink& sink, double timeMs, double arrivalMs, double leftMs, double rightMs)
{
  const GloveFrame frames[]{{-1, -1, leftMs}, {-1, -1, rightMs}};
  const std::uint16_t elements[]{1, 2, 3, 65535, 5};
  sink.add({timeMs, arrivalMs, 0, frames, elements});
}

}  // namespace

TEST(StreamSink, EachGloveHasItsElementsAndTimesThatNeverDecrease)
{
  constexpr double unknown = Record::unknown;
  FakeNetwork network;
  StreamSink sink(network, layout, groups, events);
  sink.begin(network.zero);
  const struct {
    double timeMs, arrivalMs, leftMs, rightMs;
    double expected[3];
  } rows[] = {{0, 90, 0, 3, {0, 3, 0}},
              {25, 115, 25, 28, {25, 28, 25}},
              {50, 140, unknown, 53, {50, 53, 50}},
              {unknown, 165, unknown, 78, {165, 78, 165}},
              {100, 190, 100, 103, {165, 103, 165}},
              {200, 290, 200, 203, {200, 203, 200}}};
  for (const auto& row : rows) {
    addRecord(sink, row.timeMs, row.arrivalMs, row.leftMs, row.rightMs);
  }
  sink.addEvent({300, "marker", "", "grasp"});
  sink.addEvent({250, "lost", "left", "1 frame"});
  sink.close();
  for (std::size_t group = 0; group < groups.size(); ++group) {
    const auto& samples = network.streams.at(groups[group].name);
    ASSERT_EQ(samples.size(), std::size(rows));
    for (std::size_t row = 0; row < samples.size(); ++row) {
      EXPECT_NEAR(samples[row].ms, rows[row].expected[group], 0.1) << groups[group].name << " row " << row;
    }
  }
  EXPECT_EQ(network.rates.at("left"), "40.00") << "of the usual interval";
  EXPECT_EQ(network.streams.at("right").front().values, (std::vector<std::int32_t>{3, 65535}));
  const auto& texts = network.streams.at("events");
  ASSERT_EQ(texts.size(), 2U);
  EXPECT_EQ(texts[0].text, "marker: grasp");
  EXPECT_EQ(texts[1].text, "lost (left): 1 frame");
  EXPECT_NEAR(texts[1].ms, 300, 0.1);
}

TEST(StreamSink, ABlockedNetworkHoldsNothingUpAndWhatDoesNotFitIsCounted)
{
  FakeNetwork network;
  network.open(false);
  StreamSink sink(network, layout, groups, events);
  sink.begin(network.zero);
  const std::size_t count = StreamSink::maxWaiting + 200;
  for (std::size_t record = 0; record < count; ++record) {
    addRecord(sink, 25.0 * static_cast<double>(record), 0, Record::unknown, Record::unknown);
  }
  network.open(true);
  sink.close();
  EXPECT_GE(sink.dropped(), 150U) << "those of a second may already be on their way";
  EXPECT_EQ(network.streams.at("left").size() + sink.dropped(), count);
}

TEST(StreamSink, AStreamThatCannotBeOfferedIsAFailure)
{
  FakeNetwork network;
  network.refused = "events";
  EXPECT_THROW(StreamSink(network, layout, groups, events), Failure);
  network.refused = "right";
  StreamSink sink(network, layout, groups, events);
  const auto addRecords = [&] {
    for (double ms = 0; host::uptime() < network.zero + 10s; ms += 25) {
      addRecord(sink, ms, ms, ms, ms);
    }
  };
  EXPECT_THROW(addRecords(), Failure) << "its rate is measured first";
}

// The network's clock stops while the computer is suspended; a reading that is interrupted is not used.
TEST(NetworkClock, FollowsAClockThatStops)
{
  std::chrono::nanoseconds uptime = 1000s;
  double ahead = 3600;
  int reading = 0;
  const auto read = [&] {
    uptime += ++reading % 10 == 7 ? 1us : 20ms;
    return std::chrono::duration<double>(uptime).count() + ahead;
  };
  NetworkClock clock(read, [&] { return uptime; });
  EXPECT_NEAR(clock.at(2000s), 5600, 1e-5);
  EXPECT_NEAR(std::chrono::duration<double>(clock.uptimeAt(5600)).count(), 2000, 1e-5);
  uptime += 3600s;
  ahead = 0;
  clock.keepUp();
  EXPECT_NEAR(clock.at(9000s), 9000, 1e-5);
}
