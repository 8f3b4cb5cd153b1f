// The books of a session at one of its records, from which those of a part of the session follow: the
// difference between two of them. Threads: any. Throws only std::bad_alloc.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/capture/Books.h"

struct BooksCut {
  // Each in the place of its glove.
  struct Glove {
    GloveBooks before;        // of all that the glove sent before the record's frame; they balance
    bool isCounted = false;   // the frame itself is, as sent or repeated
    bool isRepeated = false;  // it came before
    friend bool operator==(const Glove&, const Glove&) = default;
  };

  std::size_t count = 0;  // of the gloves
  std::array<Glove, 2> gloves;
  std::uint64_t unmatchedRecords = 0;  // before the record, as those below
  std::uint64_t unexpectedRecords = 0;
  std::uint64_t lostBlocks = 0;
  std::uint64_t skippedBytes = 0;
  bool isMatched = false;  // the record itself
  bool isUnexpected = false;

  // As if the session had ended just before the record, with nothing on its way.
  Books before() const;
  // Just after it.
  Books after() const;
};

// The books of the part of a session between two states of its books. Frames that later packets have shown to
// be lost count where this became known, unless they turn out to be fewer than before: then the part has
// none. What damage of the capture before the part does to its books is damage of the part.
Books partOf(const Books& begin, const Books& end);
