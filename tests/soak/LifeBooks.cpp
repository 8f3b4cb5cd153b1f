#include "tests/soak/LifeBooks.h"

#include <utility>

#include "tests/soak/Expectation.h"

void LifeBooks::load()
{
  hasOpened_ = false;
  ledgerBefore_ = world_.gloves().ledger().books();
}

void LifeBooks::open()
{
  takeCapture();
  books_.reset();
  if (!std::exchange(hasOpened_, true)) books_.emplace(surroundings_.gloves, surroundings_.elements(), true);
  hidden_ = world_.gloves().ledger().hidden();
  hasReadingEnded_ = false;
}

void LifeBooks::beginReading()
{
  takeCapture();
  if (books_) books_->beginReading(world_.platform().uptime());
}

void LifeBooks::read()
{
  if (hasReadingEnded_) books_.reset();
}

void LifeBooks::addRecord(std::span<const std::uint16_t> elements, const std::vector<LedgerFrame>& truth)
{
  if (books_) books_->addRecord(world_.now(), world_.platform().uptime(), elements, true, truth);
}

void LifeBooks::takeCapture()
{
  if (world_.gloves().ledger().hidden() != hidden_) books_.reset();
  const auto bytes = world_.gloves().takeCapture();
  if (books_) books_->addCapture(bytes);
}

void LifeBooks::endReading()
{
  if (books_ && !std::exchange(hasReadingEnded_, true)) books_->endReading(world_.platform().uptime());
}

bool LifeBooks::compare()
{
  takeCapture();
  Books before, since;
  since.gloves = world_.gloves().ledger().books();
  for (const GloveBooks& glove : since.gloves)
    expect(glove.isBalanced(), "the ledger does not balance");
  if (!books_) return false;
  before.gloves = ledgerBefore_;
  books_->finish(world_.now(), partOf(before, since).gloves);
  expect(books_->differences().empty(), "the books differ:", books_->differences());
  books_.reset();
  return true;
}
