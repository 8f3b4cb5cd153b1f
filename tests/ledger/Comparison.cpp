#include "tests/ledger/Comparison.h"

#include <array>
#include <deque>
#include <iomanip>
#include <sstream>
#include <utility>

#include "host/capture/CaptureReader.h"
#include "host/capture/LinkAccounts.h"

namespace {

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

class Comparer {
 public:
  Comparer(const RecordingPlan& plan, bool canMixFrames)
      : plan_(plan),
        canMixFrames_(canMixFrames),
        recording_(plan),
        accounts_(plan.gloves.size(), plan.elements)
  {
    recording_.onCapture = [this](std::span<const std::uint8_t> bytes) {
      reader_.add(bytes);
      while (const auto block = reader_.next()) {
        accounts_.add(*block);
      }
      takeOrigins();
    };
    recording_.onBegin = [this](auto time) { accounts_.beginReading(time); };
    recording_.onEnd = [this](auto time) { accounts_.endReading(time); };
    recording_.onRecord = [this](const VirtualRecording::Record& record) {
      accounts_.addRecord(record.after, {record.elements.begin(), record.elements.end()});
      pending_.push_back({recording_.now(), record.isWritten, record.truth.frames});
    };
  }

  Comparison run()
  {
    recording_.run();
    accounts_.settle(VirtualRecording::Time::max());
    takeOrigins();
    result_.books = accounts_.books(true);
    result_.ledger = recording_.ledger().books();
    result_.records = recording_.records();
    if (reader_.skippedBytes() + reader_.unfinishedBytes() > 0) note("bytes of the capture are damaged");
    if (!pending_.empty()) note("records that were never matched");
    compareBooks();
    result_.differences = std::move(text_).str();
    return std::move(result_);
  }

 private:
  struct Pending {
    double at;
    bool isWritten;
    std::vector<LedgerFrame> frames;
  };

  std::ostream& note(const char* what)
  {
    ++notes_;
    return text_ << "\n  " << std::fixed << std::setprecision(3) << recording_.now() << " s: " << what << ' ';
  }

  void takeOrigins()
  {
    while (const auto origin = accounts_.takeOrigin()) {
      if (pending_.front().isWritten) accounts_.noteWritten();
      check(*origin, pending_.front());
      pending_.pop_front();
    }
  }

  // Numbers and ticks have an unknown beginning, and may be found wrong later.
  void check(const RecordOrigin& origin, const Pending& record)
  {
    constexpr std::int64_t counterWrap = 16, clockWrap = 65'536;
    if (notes_ >= maxNotes) return;
    if (!origin.isMatched) note("no frames match the record at ") << record.at;
    for (std::size_t glove = 0; origin.isMatched && glove < record.frames.size(); ++glove) {
      const std::int64_t number =
          origin.frames[glove].number - static_cast<std::int64_t>(record.frames[glove].number);
      const std::int64_t ticks = origin.frames[glove].ticks - record.frames[glove].ticks;
      if (number % counterWrap != 0 || ticks % clockWrap != 0) {
        note("wrong frame of glove ")
            << glove << ": " << origin.frames[glove].number << " at " << origin.frames[glove].ticks
            << " instead of " << record.frames[glove].number << " at " << record.frames[glove].ticks;
      }
      if (offsets_[glove] && *offsets_[glove] != number) {
        movedOffsets_ << "\n  " << record.at << " s: the numbers of glove " << glove << " move by "
                      << number - *offsets_[glove];
      }
      offsets_[glove] = number;
    }
  }

  void compareBooks()
  {
    for (std::size_t glove = 0; glove < plan_.gloves.size(); ++glove) {
      GloveBooks books = result_.books.gloves[glove], ledger = result_.ledger[glove];
      for (GloveBooks* const each : {&books, &ledger}) {
        if (canMixFrames_) each->lost.radio += std::exchange(each->lost.refused, 0);
      }
      // Undecided books claim nothing but what was recorded.
      if (books.ambiguous > 0 && books.recorded == ledger.recorded) continue;
      if (books == ledger && books.isBalanced()) continue;
      note("glove ") << glove << "\n    books:  " << toText(books) << "\n    ledger: " << toText(ledger)
                     << movedOffsets_.str();
    }
    if (result_.books.lostBlocks > 0) note("blocks of the capture are missing");
    if (result_.books.unmatchedRecords + result_.books.unexpectedRecords > 0) {
      note("unmatched records: ") << result_.books.unmatchedRecords
                                  << ", unexpected: " << result_.books.unexpectedRecords;
    }
  }

  static constexpr int maxNotes = 20;

  const RecordingPlan& plan_;
  const bool canMixFrames_;
  VirtualRecording recording_;
  CaptureReader reader_;
  LinkAccounts accounts_;
  std::deque<Pending> pending_;
  std::array<std::optional<std::int64_t>, 2> offsets_;
  Comparison result_;
  std::ostringstream text_, movedOffsets_;
  int notes_ = 0;
};

}  // namespace

Comparison compare(const RecordingPlan& plan, bool canMixFrames)
{
  return Comparer(plan, canMixFrames).run();
}
