// The books that `tessel` keeps from the capture, during a life, compared with those of the ledger. Only for
// the first opening after each loading, as `tessel` opens: what is left in the plug-in from an earlier link
// is known to the ledger alone, as is what is read after a link was closed, or by a read that moved only some
// bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tests/ledger/BooksChecker.h"
#include "tests/soak/World.h"

class LifeBooks {
 public:
  LifeBooks(World& world, const Surroundings& surroundings) : world_(world), surroundings_(surroundings) {}

  void load();
  // The beginning and the end of each opening.
  void open();
  void beginReading();
  void read();
  void addRecord(std::span<const std::uint16_t> elements, const std::vector<LedgerFrame>& truth);
  // To be called now and then: it takes memory.
  void takeCapture();
  void endReading();
  // The plug-in was unloaded. Returns whether there were books to compare. Errors: Broken.
  bool compare();
  void forget() { books_.reset(); }

 private:
  World& world_;
  const Surroundings& surroundings_;
  std::optional<BooksChecker> books_;  // while they can be compared
  bool hasOpened_ = false;             // since the plug-in was loaded
  bool hasReadingEnded_ = false;
  std::uint64_t hidden_ = 0;
  std::vector<GloveBooks> ledgerBefore_;  // the ledger's are those of the whole life
};
