// Writes records with their times and frames. With a capture of the link each record waits, for milliseconds,
// until it is known of which frames it is made; without one, its time is an estimate.
//
// Time 0 is when the first record was sampled, or, if that is not known, when it arrived.
// Threads: the one that reads the gloves. Errors: a Failure of the sink.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "host/capture/LiveAccounts.h"
#include "host/recording/GapDetector.h"
#include "host/recording/Layout.h"
#include "host/recording/RecordSink.h"

class RecordKeeper {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  // All must outlive it. `accounts`: null without a capture.
  RecordKeeper(const Layout& layout, RecordSink& sink, LiveAccounts* accounts);

  // Around all reads of records from one connection.
  void beginReading(Time time);
  void endReading(Time time);
  // A record that a read delivered, which ended at this time.
  void add(Time arrival, std::uint32_t pluginMs, std::span<const std::uint16_t> elements);
  // Writes the records that wait for nothing more.
  void writeKnown();
  // Writes all that still wait. Nothing more will become known of them.
  void writeRest();

  std::uint64_t written() const { return written_; }
  // Empty before the first record was written.
  std::optional<Time> zero() const { return zero_; }
  // The time of the first record of this connection, and of the latest one of all, in ms; unknown before.
  double firstMs() const { return firstMs_; }
  double latestMs() const { return written_ > 0 ? latestMs_ : Record::unknown; }
  // Empty without a capture.
  std::optional<LiveAccounts::Snapshot> accounts() const;
  // The books at the latest record, also while the sink receives it. Empty if it was written without what the
  // capture shows of it.
  const std::optional<BooksCut>& cut() const { return cut_; }
  // Of the times of the written records.
  const GapDetector& gaps() const { return gaps_; }

 private:
  struct Waiting {
    Time arrival;
    std::uint32_t pluginMs;
    std::vector<std::uint16_t> elements;
  };

  void write(const Waiting& record, const RecordOrigin& origin);
  void writeNext(const RecordOrigin& origin);
  double estimate(std::uint32_t pluginMs);
  double sinceZero(Time time) const
  {
    return std::chrono::duration<double, std::milli>(time - *zero_).count();
  }

  RecordSink& sink_;
  LiveAccounts* const accounts_;
  std::vector<GloveFrame> frames_;  // of the record that is being written, one for each glove
  std::deque<Waiting> waiting_;
  std::uint64_t overtaken_ = 0;  // records that were written before their origin became known
  std::uint64_t written_ = 0;
  std::optional<BooksCut> cut_;
  std::optional<Time> zero_;
  double latestMs_ = 0;
  double firstMs_ = Record::unknown;
  std::optional<std::uint32_t> latestPluginMs_;
  GapDetector gaps_;
};
