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
  // The times between connections, which the ledger does not know, are left out.
  void compareBooks(double second, const Books& books, std::vector<GloveBooks> ledger);

  // Empty if there are none.
  std::string text() const { return text_.str(); }

 private:
  const std::size_t gloves_;
  const bool canMixFrames_;
  std::ostringstream text_, movedOffsets_;
  std::array<std::optional<std::int64_t>, 2> offsets_;
  int notes_ = 0;
};
