#include "tests/ledger/Differences.h"

#include <iomanip>
#include <utility>

namespace {

constexpr int maxNotes = 20;

std::string toText(const GloveBooks& books)
{
  std::ostringstream text;
  text << "sent " << books.sent << " repeated " << books.repeated << " recorded " << books.recorded
       << " ambiguous " << books.ambiguous << " unheard " << books.lost.unheard << " radio "
       << books.lost.radio << " refused " << books.lost.refused << " faulty " << books.lost.faulty
       << " pairing " << books.lost.pairing << " queued " << books.lost.queued << " discarded "
       << books.lost.discarded;
  return text.str();
}

}  // namespace

std::ostream& Differences::note(double second, const char* what)
{
  static std::ostream none(nullptr);
  if (++notes_ > maxNotes) return none;
  return text_ << "\n  " << std::fixed << std::setprecision(3) << second << " s: " << what << ' ';
}

void Differences::compareFrame(double second, std::size_t glove, std::int64_t number, std::int64_t ticks,
                               const LedgerFrame& truth)
{
  constexpr std::int64_t counterWrap = 16, clockWrap = 65'536;
  const std::int64_t offset = number - static_cast<std::int64_t>(truth.number);
  if (offset % counterWrap != 0 || (ticks - truth.ticks) % clockWrap != 0) {
    note(second, "wrong frame of glove ") << glove << ": " << number << " at " << ticks << " instead of "
                                          << truth.number << " at " << truth.ticks;
  }
  if (offsets_[glove] && *offsets_[glove] != offset) {
    movedOffsets_ << "\n  " << second << " s: the numbers of glove " << glove << " move by "
                  << offset - *offsets_[glove];
  }
  offsets_[glove] = offset;
}

void Differences::checkCut(double second, const std::optional<BooksCut>& cut, std::uint64_t records)
{
  if (!cut) {
    note(second, "the books at a record are unknown");
    return;
  }
  const auto check = [&](const char* what, const Books& books, std::uint64_t recorded) {
    for (const GloveBooks& glove : books.gloves) {
      if (!glove.isBalanced() || glove.recorded != recorded || glove.lost.total() >> 63 != 0)
        note(second, what) << "record " << records << ": " << toText(glove);
    }
  };
  const Books before = cut->before();
  Books after = cut->after();
  check("before ", before, records);
  check("after ", after, records + 1);
  if (latestCut_) check("lost before ", partOf(*latestCut_, before), 0);
  latestCut_ = std::move(after);
}

void Differences::checkSent(double second, std::size_t glove, const BooksCut& cut, std::int64_t number)
{
  const std::int64_t unsent = number - static_cast<std::int64_t>(cut.after().gloves[glove].sent);
  if (unsent_[glove].value_or(unsent) != unsent) note(second, "frames sent to ") << number;
  unsent_[glove] = unsent;
}

void Differences::compareBooks(double second, const Books& books, std::vector<GloveBooks> ledger)
{
  for (std::size_t glove = 0; glove < gloves_; ++glove) {
    GloveBooks own = books.gloves[glove], truth = ledger[glove];
    own.awaySeconds = 0;
    for (GloveBooks* const each : {&own, &truth}) {
      if (canMixFrames_) each->lost.radio += std::exchange(each->lost.refused, 0);
    }
    // Undecided books claim nothing but what was recorded.
    if (own.ambiguous > 0 && own.recorded == truth.recorded) continue;
    if (own == truth && own.isBalanced()) continue;
    note(second, "glove ") << glove << "\n    books:  " << toText(own) << "\n    ledger: " << toText(truth)
                           << movedOffsets_.str();
  }
  if (books.lostBlocks > 0) note(second, "blocks of the capture are missing");
  if (books.unmatchedRecords + books.unexpectedRecords > 0) {
    note(second, "unmatched records: ")
        << books.unmatchedRecords << ", unexpected: " << books.unexpectedRecords;
  }
}
