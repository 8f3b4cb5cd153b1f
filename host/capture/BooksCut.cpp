#include "host/capture/BooksCut.h"

#include <algorithm>

namespace {

GloveBooks partOf(const GloveBooks& begin, const GloveBooks& end)
{
  using Lost = GloveBooks::Lost;
  GloveBooks part;
  // Counted too often before; both numbers have it.
  const std::uint64_t excess = begin.lost.unheard - std::min(begin.lost.unheard, end.lost.unheard);
  part.sent = end.sent + excess - begin.sent;
  part.repeated = end.repeated - begin.repeated;
  part.recorded = end.recorded - begin.recorded;
  part.ambiguous = end.ambiguous - begin.ambiguous;
  part.awaySeconds = end.awaySeconds - begin.awaySeconds;
  part.lost.unheard = end.lost.unheard + excess - begin.lost.unheard;
  for (const auto cause :
       {&Lost::radio, &Lost::refused, &Lost::faulty, &Lost::pairing, &Lost::queued, &Lost::discarded}) {
    part.lost.*cause = end.lost.*cause - begin.lost.*cause;
  }
  return part;
}

}  // namespace

Books BooksCut::before() const
{
  Books books{.gloves = {},
              .unmatchedRecords = unmatchedRecords,
              .unexpectedRecords = unexpectedRecords,
              .lostBlocks = lostBlocks,
              .skippedBytes = skippedBytes,
              .isFinal = true};
  for (std::size_t glove = 0; glove < count; ++glove) {
    books.gloves.push_back(gloves[glove].before);
  }
  return books;
}

Books BooksCut::after() const
{
  Books books = before();
  if (!isMatched) ++books.unmatchedRecords;
  if (isUnexpected) ++books.unexpectedRecords;
  for (std::size_t glove = 0; glove < count; ++glove) {
    ++books.gloves[glove].recorded;
    if (gloves[glove].isCounted) {
      ++(gloves[glove].isRepeated ? books.gloves[glove].repeated : books.gloves[glove].sent);
    }
  }
  return books;
}

Books partOf(const Books& begin, const Books& end)
{
  Books part{.gloves = {},
             .unmatchedRecords = end.unmatchedRecords - begin.unmatchedRecords,
             .unexpectedRecords = end.unexpectedRecords - begin.unexpectedRecords,
             .lostBlocks = end.lostBlocks - begin.lostBlocks,
             .skippedBytes = end.skippedBytes - begin.skippedBytes,
             .isFinal = end.isFinal};
  for (std::size_t glove = 0; glove < end.gloves.size(); ++glove) {
    part.gloves.push_back(partOf(begin.gloves[glove], end.gloves[glove]));
  }
  // Frames that the plug-in still had when bytes of the capture got lost appear in later records.
  if (part.balanced() == false) {
    part.lostBlocks = end.lostBlocks;
    part.skippedBytes = end.skippedBytes;
  }
  return part;
}
