#include "tests/ledger/Comparison.h"

#include <deque>
#include <utility>

#include "host/capture/CaptureReader.h"
#include "host/capture/LinkAccounts.h"
#include "tests/ledger/Differences.h"

namespace {

class Comparer {
 public:
  Comparer(const RecordingPlan& plan, bool canMixFrames)
      : recording_(plan),
        accounts_(plan.gloves.size(), plan.elements),
        differences_(plan.gloves.size(), canMixFrames)
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
    const double now = recording_.now();
    if (reader_.skippedBytes() + reader_.unfinishedBytes() > 0)
      differences_.note(now, "bytes of the capture are damaged");
    if (!pending_.empty()) differences_.note(now, "records that were never matched");
    differences_.compareBooks(now, result_.books, result_.ledger);
    result_.differences = differences_.text();
    return std::move(result_);
  }

 private:
  struct Pending {
    double at;
    bool isWritten;
    std::vector<LedgerFrame> frames;
  };

  void takeOrigins()
  {
    while (const auto origin = accounts_.takeOrigin()) {
      if (pending_.front().isWritten) accounts_.noteWritten();
      check(*origin, pending_.front());
      pending_.pop_front();
    }
  }

  void check(const RecordOrigin& origin, const Pending& record)
  {
    differences_.checkCut(record.at, origin.cut, checked_++);
    if (!origin.isMatched) differences_.note(record.at, "no frames match the record");
    for (std::size_t glove = 0; origin.isMatched && glove < record.frames.size(); ++glove) {
      differences_.compareFrame(record.at, glove, origin.frames[glove].number, origin.frames[glove].ticks,
                                record.frames[glove]);
      differences_.checkSent(record.at, glove, *origin.cut, origin.frames[glove].number);
    }
  }

  VirtualRecording recording_;
  CaptureReader reader_;
  LinkAccounts accounts_;
  std::deque<Pending> pending_;
  std::uint64_t checked_ = 0;
  Differences differences_;
  Comparison result_;
};

}  // namespace

Comparison compare(const RecordingPlan& plan, bool canMixFrames)
{
  return Comparer(plan, canMixFrames).run();
}
