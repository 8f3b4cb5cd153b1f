// What the books and a recording say, compared with the simulator's ledger. Notes each difference with its
// virtual time.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "host/capture/Books.h"
#include "host/capture/BooksCut.h"
#include "tests/support/Ledger.h"

class Differences {
 public:
  // `canMixFrames`: a packet may arrive among those of another frame, so that the books can't tell a missing
  // packet from a wrong order: their sum is compared.
  Differences(std::size_t gloves, bool canMixFrames) : gloves_(gloves), canMixFrames_(canMixFrames) {}

  std::ostream& note(double second, const char* what);
  // Numbers and ticks have an unknown beginning, and may be found wrong later.
  void compareFrame(double second, std::size_t glove, std::int64_t number, std::int64_t ticks,
                    const LedgerFrame& truth);
  // Parts of a session that begin or end at this record, after so many others, have to balance.
  void checkCut(double second, const std::optional<BooksCut>& cut, std::uint64_t records);
  // Within a connection frames are sent as their numbers say.
  void checkSent(double second, std::size_t glove, const BooksCut& cut, std::int64_t number);
  // The times between connections, which the ledger does not know, are left out.
  void compareBooks(double second, const Books& books, std::vector<GloveBooks> ledger);

  // Empty if there are none.
  std::string text() const { return text_.str(); }

 private:
  const std::size_t gloves_;
  const bool canMixFrames_;
  std::ostringstream text_, movedOffsets_;
  std::array<std::optional<std::int64_t>, 2> offsets_;
  std::array<std::optional<std::int64_t>, 2> unsent_;  // by the numbers
  std::optional<Books> latestCut_;
  int notes_ = 0;
};
