#include "host/streaming/StreamSink.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <numeric>
#include <utility>

#include "host/base/System.h"
#include "host/recording/EventText.h"
#include "host/streaming/NetworkClock.h"

namespace {

// What is pushed is sent by the network's own threads, which say nothing of when they have.
constexpr std::chrono::milliseconds sendingTime{300};

// From which the rate is measured that the descriptions of the streams have.
constexpr std::chrono::seconds measuringTime{1};
constexpr std::size_t minMeasured = 10;
constexpr std::size_t maxMeasured = 2000;

// Of the usual interval, which a few lost records don't change; 0 if it is unknown.
double rateOf(const std::vector<std::chrono::nanoseconds>& times)
{
  if (times.size() < 2) return 0;
  std::vector<std::chrono::nanoseconds> intervals(times.size());
  std::adjacent_difference(times.begin(), times.end(), intervals.begin());
  intervals.erase(intervals.begin());
  const auto median = intervals.begin() + static_cast<std::ptrdiff_t>(intervals.size() / 2);
  std::ranges::nth_element(intervals, median);
  return median->count() > 0 ? 1e9 / static_cast<double>(median->count()) : 0;
}

}  // namespace

// The outlets, on their thread. Those of elements are made as soon as the rate is known, since what describes
// a stream can't be changed later.
class StreamSink::Streams {
 public:
  explicit Streams(const StreamSink& sink)
      : sink_(sink), clock_([&network = sink.network_] { return network.clock(); })
  {
    events_ = {sink_.network_.offer(sink_.events_, StreamNetwork::Values::texts)};
  }

  // False if it was not taken. A Failure if the streams of the elements can't be offered.
  bool push(Item item)
  {
    clock_.keepUp();
    return std::visit([this](auto& content) { return pushContent(std::move(content)); }, item);
  }

  // What waits for the rate when nothing more will come.
  void pushEarly()
  {
    if (!early_.empty()) offerElements();
  }

  bool haveReceivers()
  {
    return events_.outlet->hasReceivers() ||
           std::ranges::any_of(groups_, [](Stream& stream) { return stream.outlet->hasReceivers(); });
  }

 private:
  struct Stream {
    std::unique_ptr<StreamNetwork::Outlet> outlet;
    double latest = 0;  // seconds of the network's clock

    double advance(double seconds) { return latest = std::max(latest, seconds); }
  };

  bool pushContent(Samples samples)
  {
    if (!groups_.empty()) return pushElements(samples);
    early_.push_back(std::move(samples));
    const bool isMeasured = early_.size() >= minMeasured &&
                            early_.back().times.front() - early_.front().times.front() >= measuringTime;
    return isMeasured || early_.size() == maxMeasured ? offerElements() : true;
  }

  bool offerElements()
  {
    for (std::size_t index = 0; index < sink_.groups_.size(); ++index) {
      std::vector<Time> times;
      for (const Samples& samples : early_) {
        times.push_back(samples.times[index]);
      }
      StreamDescription group = sink_.groups_[index];
      if (const double rate = rateOf(times); rate > 0) {
        group.desc.children.push_back({"measured_srate", fmt::format("{:.2f}", rate)});
      }
      groups_.push_back({sink_.network_.offer(group, StreamNetwork::Values::numbers)});
    }
    bool areTaken = true;
    for (const Samples& samples : std::exchange(early_, {})) {
      areTaken = pushElements(samples) && areTaken;
    }
    return areTaken;
  }

  bool pushElements(const Samples& samples)
  {
    bool isTaken = true;
    for (std::size_t index = 0; index < groups_.size(); ++index) {
      const ElementGroup& group = sink_.layout_.groups[index];
      const auto begin = samples.elements.begin() + static_cast<std::ptrdiff_t>(group.first);
      values_.assign(begin, begin + static_cast<std::ptrdiff_t>(group.count));
      Stream& stream = groups_[index];
      isTaken = stream.outlet->push(stream.advance(clock_.at(samples.times[index])), values_) && isTaken;
    }
    return isTaken;
  }

  bool pushContent(const Text& text)
  {
    return events_.outlet->push(events_.advance(clock_.at(text.time)), text.text);
  }

  const StreamSink& sink_;
  NetworkClock clock_;
  std::vector<Samples> early_;  // before the rate is known
  std::vector<Stream> groups_;
  Stream events_;
  std::vector<std::int32_t> values_;
};

StreamSink::StreamSink(StreamNetwork& network, const Layout& layout, std::vector<StreamDescription> groups,
                       StreamDescription events)
    : network_(network), layout_(layout), groups_(std::move(groups)), events_(std::move(events))
{
  std::promise<void> offered;
  auto isOffered = offered.get_future();
  thread_ = std::thread([this, &offered] { run(offered); });
  try {
    isOffered.get();
  } catch (...) {
    thread_.join();
    throw;
  }
}

StreamSink::~StreamSink()
{
  close();
}

void StreamSink::close()
{
  {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
  }
  wake_.notify_one();
  if (thread_.joinable()) thread_.join();
}

std::uint64_t StreamSink::dropped() const
{
  const std::lock_guard lock(mutex_);
  return dropped_;
}

void StreamSink::add(const Record& record)
{
  Samples samples{.times = {}, .elements = {record.elements.begin(), record.elements.end()}};
  const double recordMs = std::isnan(record.timeMs) ? record.arrivalMs : record.timeMs;
  std::size_t glove = 0;
  for (const ElementGroup& group : layout_.groups) {
    double ms = recordMs;
    if (group.isGlove() && glove < record.frames.size()) {
      const double sampledMs = record.frames[glove++].sampledMs;
      if (!std::isnan(sampledMs)) ms = sampledMs;
    }
    samples.times.push_back(timeOf(ms));
  }
  add(Item(std::move(samples)));
}

void StreamSink::addEvent(const RecordingEvent& event)
{
  const Time time = std::isnan(event.timeMs) ? host::uptime() : timeOf(event.timeMs);
  add(Item(Text{time, eventText(event)}));
}

void StreamSink::add(Item item)
{
  {
    const std::lock_guard lock(mutex_);
    if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
    if (waiting_.size() >= maxWaiting) {
      ++dropped_;
      return;
    }
    waiting_.push_back(std::move(item));
  }
  wake_.notify_one();
}

StreamSink::Time StreamSink::timeOf(double ms) const
{
  return zero_ + std::chrono::duration_cast<Time>(std::chrono::duration<double, std::milli>(ms));
}

void StreamSink::run(std::promise<void>& offered)
{
  std::optional<Streams> streams;
  try {
    streams.emplace(*this);
  } catch (...) {
    offered.set_exception(std::current_exception());
    return;
  }
  offered.set_value();
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return isOver_ || !waiting_.empty(); });
    if (waiting_.empty()) break;
    Item item = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    bool isTaken = true;
    std::exception_ptr error;
    try {
      isTaken = streams->push(std::move(item));
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    if (!isTaken) ++dropped_;
    if (!error) continue;
    error_ = error;
    return;
  }
  lock.unlock();
  try {
    streams->pushEarly();
  } catch (const std::exception&) {
    // Of a recording this short nothing could have been received.
  }
  if (streams->haveReceivers()) std::this_thread::sleep_for(sendingTime);
}
