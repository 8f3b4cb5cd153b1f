// Accounts for each frame that the gloves were heard to send: follows a capture and the records that the
// plug-in delivered meanwhile, and finds out of which frames each record was made, and what became of the
// others.
//
// It knows of the plug-in's inner queues only what follows from the capture and from the plug-in's rules:
// each read handles one message and then delivers the oldest frames, unless a queue is empty; of two queues
// the longer one, or both if they are equally long, are first cut to the two newest frames. The samples of
// each record are compared with what these rules predict.
//
// Threads: one. Throws only std::bad_alloc. Time: of host::uptime().
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "host/capture/Books.h"
#include "host/capture/BooksCut.h"
#include "host/capture/CaptureBlock.h"
#include "host/capture/DeviceTime.h"
#include "host/capture/GloveAccount.h"
#include "host/capture/GloveClock.h"
#include "host/capture/GloveSigns.h"
#include "host/capture/HeardDevices.h"
#include "host/capture/LinkDecoder.h"

// What is known of a record.
struct RecordOrigin {
  struct Frame {
    std::int64_t number = -1;  // -1: unknown
    std::int64_t ticks = -1;
    std::optional<std::chrono::nanoseconds> sampled;  // by the glove's clock, see DeviceTime
  };

  bool isMatched = false;
  std::array<Frame, 2> frames;  // by glove
  std::optional<BooksCut> cut;  // of the session's books, at this record

  // The record's time is that of the first glove.
  std::optional<std::chrono::nanoseconds> sampled() const { return frames[0].sampled; }
};

class LinkAccounts final : private LinkListener {
 public:
  using Time = std::chrono::nanoseconds;

  // `gloves`: 1 or 2 in a record, each with this number of elements, in order.
  LinkAccounts(std::size_t gloves, std::size_t elementsOfGlove);
  LinkAccounts(const LinkAccounts&) = delete;
  LinkAccounts& operator=(const LinkAccounts&) = delete;

  // Of the latest loading of the plug-in: the program's first read of records begins, and its last one has
  // ended. Messages before and after are only handled, which delivers nothing.
  void beginReading(Time time);
  void endReading(Time time) { readingEnd_ = time; }

  // A record that a read delivered, which ended at this time. In order.
  void addRecord(Time time, std::vector<std::uint16_t> elements);
  // The next block of the capture, in order. Records before it are matched first.
  void add(const CaptureBlock& block);
  // No block before this time will follow. Matches all records before it. `Time::max()`: the plug-in has
  // ended; another one may be loaded.
  void settle(Time time);
  // Of the records, in their order; nothing while the next one is not matched, or its time not known.
  std::optional<RecordOrigin> takeOrigin();

  // The next record, in their order, was written. Those after the last such call were discarded.
  void noteWritten();
  void noteDamage(std::uint64_t skippedBytes) { skippedBytes_ = skippedBytes; }

  Books books(bool isEnd) const;
  // Of the first glove.
  const DeviceTime& deviceTime() const { return clocks_[0].time(); }
  std::optional<LinkDecoder::Address> address(std::size_t glove) const { return decoder_.address(glove); }
  const GloveSigns& signs(std::size_t glove) const { return signs_.at(glove); }
  const HeardDevices& heard() const { return heard_; }
  void forgetHeard() { heard_.clear(); }
  // How many connections have ended.
  std::uint64_t endings() const { return endings_; }
  // When the glove's latest connection ended; empty while it lasts.
  std::optional<Time> ended(std::size_t glove) const { return ended_.at(glove); }

 private:
  struct Delivered {
    Time time;
    std::vector<std::uint16_t> elements;
  };

  void begin() override;
  void message(Time time) override;
  void notificationsBegin(std::size_t glove, Time time) override;
  void notificationsEnd(std::size_t glove, Time time) override;
  void packet(std::size_t glove, Packet packet, Time time) override;
  void sensorStatus(std::size_t glove, std::span<const std::uint8_t> status) override;
  void advertisement(const Advertisement& advertisement) override { heard_.add(advertisement); }

  using Position = std::array<std::size_t, LinkDecoder::maxGloves>;  // in each queue

  bool isReading(Time time) const { return readingBegin_ && time > *readingBegin_ && time < readingEnd_; }
  bool canFetch() const;
  Position nextFetch() const;
  bool areFramesOf(const Delivered& record, const Position& position) const;
  bool isFrameOf(const Delivered& record, std::size_t glove, std::size_t position) const;
  std::optional<Position> findFrames(const Delivered& record) const;
  void matchRecords(Time before);
  RecordOrigin match(const Delivered& record);
  BooksCut cutHere() const;
  void findTimes();
  void forgetWritten();
  void rejectShortFrames();

  const std::size_t count_;
  const std::size_t elements_;
  LinkDecoder decoder_{*this};
  HeardDevices heard_;
  std::array<GloveAccount, LinkDecoder::maxGloves> gloves_;
  std::array<GloveClock, LinkDecoder::maxGloves> clocks_{GloveClock(decoder_, 0), GloveClock(decoder_, 1)};
  std::array<GloveSigns, LinkDecoder::maxGloves> signs_;
  std::optional<Time> readingBegin_;
  Time readingEnd_ = Time::max();
  std::array<std::optional<Time>, LinkDecoder::maxGloves> ended_;
  std::uint64_t endings_ = 0;
  std::optional<Time> undelivered_;  // the latest message, unless the read that handled it delivered a record
  std::deque<Delivered> delivered_;
  std::optional<Time> firstDelivery_;
  std::deque<RecordOrigin> origins_;
  std::size_t timed_ = 0;  // origins whose time was found
  std::deque<bool>
      unwritten_;  // whether each record was matched, from the first one that is not known to be written
  std::uint64_t written_ = 0;    // records
  std::uint64_t forgotten_ = 0;  // of these, no longer in unwritten_
  std::uint64_t unmatched_ = 0;
  std::uint64_t unexpected_ = 0;
  std::uint64_t lostBlocks_ = 0;
  std::uint64_t skippedBytes_ = 0;
};
