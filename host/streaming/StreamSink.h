// Offers a recording as streams: one for each group of elements, and one for the events. Each sample has the
// time at which its glove was sampled by the glove's own clock, or, where that is unknown, the time of its
// record; in a stream time never decreases. The streams of elements are offered when their rate has been
// measured, after a second, and say it in their descriptions.
// Threads: constructed, called and destroyed by the thread that reads the gloves, which never waits for the
// network: a thread of its own makes the outlets and pushes. What does not fit into its queue is counted.
// Errors: the constructor throws a Failure if a stream can't be offered, or std::system_error; so does add()
// later, once.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "host/base/Failure.h"
#include "host/recording/Layout.h"
#include "host/recording/RecordSink.h"
#include "host/recording/StreamDescription.h"
#include "host/streaming/StreamNetwork.h"

class StreamSink final : public RecordSink {
 public:
  static constexpr std::size_t maxWaiting = 4000;  // records and events

  // The network must outlive it. `groups`: a stream for each group of the layout.
  StreamSink(StreamNetwork& network, const Layout& layout, std::vector<StreamDescription> groups,
             StreamDescription events);
  ~StreamSink() override;
  StreamSink(const StreamSink&) = delete;
  StreamSink& operator=(const StreamSink&) = delete;

  void begin(std::chrono::nanoseconds zero) override { zero_ = zero; }
  void add(const Record& record) override;
  void addEvent(const RecordingEvent& event) override;

  // Pushes what still waits, and withdraws the streams. Nothing may be added afterwards.
  void close();
  // Records and events that were not streamed, since the network was too slow or refused them.
  std::uint64_t dropped() const;

 private:
  using Time = std::chrono::nanoseconds;  // of host::uptime()
  struct Samples {
    std::vector<Time> times;  // of each group
    std::vector<std::uint16_t> elements;
  };
  struct Text {
    Time time;
    std::string text;
  };
  using Item = std::variant<Samples, Text>;
  class Streams;

  void run(std::promise<void>& offered);
  void add(Item item);
  Time timeOf(double ms) const;

  StreamNetwork& network_;
  const Layout layout_;
  const std::vector<StreamDescription> groups_;
  const StreamDescription events_;
  Time zero_{0};

  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<Item> waiting_;  // guarded, as those below
  std::uint64_t dropped_ = 0;
  bool isOver_ = false;
  std::exception_ptr error_;
  std::thread thread_;
};
