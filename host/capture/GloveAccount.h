// One glove's frames, from what is heard of them to their fate.
//
// A frame is counted if it lies between the first first packet of a connection and the last frame that the
// plug-in accepted, or that another first packet follows; outside nothing is known. Threads: one. Throws only
// std::bad_alloc.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "host/capture/Books.h"
#include "host/capture/BooksCut.h"
#include "host/capture/FrameAssembly.h"
#include "host/capture/FrameCounter.h"
#include "host/capture/LinkDecoder.h"

class GloveAccount {
 public:
  using Time = std::chrono::nanoseconds;

  // A frame in the plug-in's queue.
  struct Published {
    std::int64_t number = 0;
    std::int64_t ticks = 0;
    Time arrival{0};      // of its first packet
    BooksCut::Glove cut;  // without what became of earlier frames of the queue, until it is taken
    std::vector<std::uint16_t> samples;
  };

  // What was heard of a frame.
  struct Heard {
    std::int64_t number = 0;
    std::int64_t ticks = 0;
    Time arrival{0};
    std::int64_t steps = 0;   // frames since the previous one
    unsigned packets = 0;     // in the frame
    std::uint32_t heard = 0;  // one bit for each index
    unsigned highest = 0;     // index
    bool isOver = false;      // the next frame has begun without a first packet
    bool isPublished = false;
    bool isRepeated = false;  // the same frame came before

    bool isComplete() const;
  };

  // Called with each counted frame as it begins: its ticks, and the arrival of its first packet.
  struct Listener {
    virtual ~Listener() = default;
    virtual void frameBegins(std::int64_t ticks, Time arrival) = 0;
    virtual void connectionBegins() = 0;
    // Not counted is a frame in which the connection ended.
    virtual void frameEnds(const Heard& /*frame*/, bool /*isCounted*/) {}
  };

  void setListener(Listener* listener) { listener_ = listener; }
  void beginConnection(Time time);
  void endConnection(Time time);
  void add(LinkListener::Packet packet, Time time);

  const std::deque<Published>& queue() const { return queue_; }
  // The oldest frames leave the queue: the plug-in skipped them, or rejected them.
  void skip(std::size_t count);
  void reject();
  // The oldest frame leaves the queue for a record.
  Published take();
  // For a record of unknown frames: just before the oldest frame of the queue.
  BooksCut::Glove cutHere() const;

  // The plug-in was loaded again: its queue is empty.
  void reload();

  // Without what became of the frames that were taken. `isEnd`: what is still queued stays there.
  GloveBooks books(bool isEnd) const;

 private:
  static void noteHeard(Heard& frame, unsigned index);
  void beginFrame(LinkListener::Packet packet, Time time);
  void endFrame(bool isFollowed);
  GloveBooks counted() const;
  BooksCut::Glove cutAtCurrent() const;
  BooksCut::Glove withFates(BooksCut::Glove cut) const;

  Listener* listener_ = nullptr;
  FrameCounter counter_;
  FrameAssembly assembly_;
  std::deque<Published> queue_;
  std::optional<Heard> current_;
  bool isConnected_ = false;
  std::optional<std::int64_t> firstNumber_, lastNumber_;  // of the counted frames of this connection
  std::optional<Time> ended_;                             // the previous connection
  GloveBooks books_;
};
