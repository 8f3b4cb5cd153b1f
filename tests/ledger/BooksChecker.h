// Keeps the books of one loading of the plug-in from its capture, as `tessel` does, and compares them and the
// frames of each record with the simulator's ledger.
#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <vector>

#include "host/capture/CaptureReader.h"
#include "host/capture/LinkAccounts.h"
#include "tests/ledger/Differences.h"

class BooksChecker {
 public:
  using Time = LinkAccounts::Time;

  // `canMixFrames`: see Differences.
  BooksChecker(std::size_t gloves, std::size_t elements, bool canMixFrames)
      : accounts_(gloves, elements), differences_(gloves, canMixFrames)
  {
  }

  void addCapture(std::span<const std::uint8_t> bytes);
  void beginReading(Time time) { accounts_.beginReading(time); }
  void endReading(Time time) { accounts_.endReading(time); }
  // Which the read that ended at this time delivered; `second` is for the notes.
  void addRecord(double second, Time time, std::span<const std::uint16_t> elements, bool isWritten,
                 const std::vector<LedgerFrame>& truth);
  // The plug-in was unloaded. Returns the books, compared with those of the ledger.
  Books finish(double second, const std::vector<GloveBooks>& ledger);

  // Empty if there are no differences.
  std::string differences() const { return differences_.text(); }

 private:
  struct Pending {
    double at;
    bool isWritten;
    std::vector<LedgerFrame> frames;
  };

  void takeOrigins();
  void check(const RecordOrigin& origin, const Pending& record);

  CaptureReader reader_;
  LinkAccounts accounts_;
  std::deque<Pending> pending_;
  std::uint64_t checked_ = 0;
  Differences differences_;
};
