#include "host/streaming/StreamSink.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

#include "host/base/System.h"
#include "host/recording/EventText.h"
#include "host/streaming/NetworkClock.h"

namespace {

// What is pushed is sent by the network's own threads, which say nothing of when they have.
constexpr std::chrono::milliseconds sendingTime{300};

}  // namespace

// The outlets, on their thread.
class StreamSink::Streams {
 public:
  explicit Streams(const StreamSink& sink)
      : layout_(sink.layout_), clock_([&network = sink.network_] { return network.clock(); })
  {
    for (const StreamDescription& group : sink.groups_) {
      groups_.push_back({sink.network_.offer(group, StreamNetwork::Values::numbers)});
    }
    events_ = {sink.network_.offer(sink.events_, StreamNetwork::Values::texts)};
  }

  bool push(const Item& item)
  {
    clock_.keepUp();
    return std::visit([this](const auto& content) { return pushContent(content); }, item);
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

  bool pushContent(const Samples& samples)
  {
    bool isTaken = true;
    for (std::size_t index = 0; index < groups_.size(); ++index) {
      const ElementGroup& group = layout_.groups[index];
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

  const Layout& layout_;
  NetworkClock clock_;
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
    const Item item = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    const bool isTaken = streams->push(item);
    lock.lock();
    if (!isTaken) ++dropped_;
  }
  lock.unlock();
  if (streams->haveReceivers()) std::this_thread::sleep_for(sendingTime);
}
