#include "tests/ledger/BooksChecker.h"

void BooksChecker::addCapture(std::span<const std::uint8_t> bytes)
{
  reader_.add(bytes);
  while (const auto block = reader_.next()) {
    accounts_.add(*block);
  }
  takeOrigins();
}

void BooksChecker::addRecord(double second, Time time, std::span<const std::uint16_t> elements,
                             bool isWritten, const std::vector<LedgerFrame>& truth)
{
  accounts_.addRecord(time, {elements.begin(), elements.end()});
  pending_.push_back({second, isWritten, truth});
}

void BooksChecker::takeOrigins()
{
  while (const auto origin = accounts_.takeOrigin()) {
    if (pending_.front().isWritten) accounts_.noteWritten();
    check(*origin, pending_.front());
    pending_.pop_front();
  }
}

void BooksChecker::check(const RecordOrigin& origin, const Pending& record)
{
  differences_.checkCut(record.at, origin.cut, checked_++);
  if (!origin.isMatched) differences_.note(record.at, "no frames match the record");
  for (std::size_t glove = 0; origin.isMatched && glove < record.frames.size(); ++glove) {
    differences_.compareFrame(record.at, glove, origin.frames[glove].number, origin.frames[glove].ticks,
                              record.frames[glove]);
    differences_.checkSent(record.at, glove, *origin.cut, origin.frames[glove].number);
  }
}

Books BooksChecker::finish(double second, const std::vector<GloveBooks>& ledger)
{
  accounts_.settle(Time::max());
  takeOrigins();
  Books books = accounts_.books(true);
  if (reader_.skippedBytes() + reader_.unfinishedBytes() > 0)
    differences_.note(second, "bytes of the capture are damaged");
  if (!pending_.empty()) differences_.note(second, "records that were never matched");
  differences_.compareBooks(second, books, ledger);
  return books;
}
