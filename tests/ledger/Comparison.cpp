#include "tests/ledger/Comparison.h"

#include "tests/ledger/BooksChecker.h"

Comparison compare(const RecordingPlan& plan)
{
  VirtualRecording recording(plan);
  BooksChecker checker(plan.gloves.size(), plan.elements, false);
  recording.onCapture = [&](std::span<const std::uint8_t> bytes) { checker.addCapture(bytes); };
  recording.onBegin = [&](auto time) { checker.beginReading(time); };
  recording.onEnd = [&](auto time) { checker.endReading(time); };
  recording.onRecord = [&](const VirtualRecording::Record& record) {
    checker.addRecord(recording.now(), record.after, record.elements, true, record.truth.frames);
  };
  recording.run();
  Comparison result;
  result.ledger = recording.ledger().books();
  result.books = checker.finish(recording.now(), result.ledger);
  result.records = recording.records();
  result.differences = checker.differences();
  return result;
}
