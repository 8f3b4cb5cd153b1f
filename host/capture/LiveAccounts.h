// LinkAccounts while recording: the thread that receives the capture does the work, and the thread that reads
// the gloves only leaves its records and takes what is known of them. Neither waits for the other's work.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "host/capture/CaptureReader.h"
#include "host/capture/LinkAccounts.h"

class LiveAccounts {
 public:
  using Time = std::chrono::nanoseconds;  // of host::uptime()

  // As of the latest bytes of the capture.
  struct Snapshot {
    Time time{0};  // of these bytes
    Books books;
    // Of the mapping of the first glove's clock, see DeviceTime.
    double residualMs = 0;
    int observedPhaseMs = 0;
    std::optional<double> clockError;
    std::array<std::optional<LinkDecoder::Address>, LinkDecoder::maxGloves> addresses;
    std::array<GloveSigns, LinkDecoder::maxGloves> signs;
    // When the latest connection of each glove ended; empty while it lasts.
    std::array<std::optional<Time>, LinkDecoder::maxGloves> ended;
    HeardDevices heard;  // since forgetHeard()
  };

  // As for LinkAccounts.
  LiveAccounts(std::size_t gloves, std::size_t elementsOfGlove) : accounts_(gloves, elementsOfGlove) {}

  // On the thread that receives the capture. What it throws, takeOrigin() throws, too.
  void receive(std::span<const std::uint8_t> bytes);

  // On the thread that reads the gloves.
  // Around all reads of records from one loaded plug-in.
  void beginReading(Time time);
  void endReading(Time time);
  void addRecord(Time time, std::span<const std::uint16_t> elements);
  std::optional<RecordOrigin> takeOrigin();
  void noteWritten();
  void forgetHeard();
  Snapshot snapshot() const;

  // The plug-in was unloaded, and its whole capture has been received. No thread may use it meanwhile.
  // Matches the last records; they can still be taken, and noted as written. A plug-in may be loaded again.
  void settle();
  // After the last of them: the final books.
  Books close();

 private:
  struct Delivered {
    Time time;
    std::vector<std::uint16_t> elements;
  };
  struct Inbox {
    std::optional<Time> readingBegin, readingEnd;
    std::vector<Delivered> records;
    std::uint64_t written = 0;
    bool forgetsHeard = false;
  };

  void account(std::span<const std::uint8_t> bytes);
  void takeInbox();
  void handBack();

  CaptureReader reader_;
  LinkAccounts accounts_;
  Time latest_{0};  // block of the capture
  Time nextSnapshot_{0};
  std::uint64_t endings_ = 0;  // in the latest snapshot

  std::atomic<bool> hasOrigins_{false};  // so that each read need not lock
  mutable std::mutex mutex_;             // of what follows
  Inbox inbox_;
  std::deque<RecordOrigin> origins_;
  std::exception_ptr error_;  // of receive(), for takeOrigin()
  Snapshot snapshot_;
};
