#include "host/capture/LiveAccounts.h"

#include <utility>

namespace {

// For the eye: the progress is shown as often.
constexpr std::chrono::milliseconds snapshotInterval{200};

}  // namespace

// The accounts have ended with an exception. Without them the records would pile up, so the recording ends,
// too.
void LiveAccounts::receive(std::span<const std::uint8_t> bytes)
{
  try {
    account(bytes);
  } catch (...) {
    const std::scoped_lock lock(mutex_);
    error_ = std::current_exception();
    hasOrigins_ = true;
    throw;
  }
}

void LiveAccounts::account(std::span<const std::uint8_t> bytes)
{
  // The records first: each was left before the plug-in read what follows it, so none can come later than
  // these bytes.
  takeInbox();
  reader_.add(bytes);
  while (const auto block = reader_.next()) {
    accounts_.add(*block);
    latest_ = block->time;
  }
  accounts_.noteDamage(reader_.skippedBytes());
  handBack();
}

void LiveAccounts::takeInbox()
{
  Inbox inbox;
  {
    const std::scoped_lock lock(mutex_);
    std::swap(inbox, inbox_);
  }
  if (inbox.forgetsHeard) accounts_.forgetHeard();
  if (inbox.readingBegin) accounts_.beginReading(*inbox.readingBegin);
  if (inbox.readingEnd) accounts_.endReading(*inbox.readingEnd);
  for (; inbox.written > 0; --inbox.written) {
    accounts_.noteWritten();
  }
  for (Delivered& record : inbox.records) {
    accounts_.addRecord(record.time, std::move(record.elements));
  }
}

void LiveAccounts::handBack()
{
  std::vector<RecordOrigin> origins;
  while (const auto origin = accounts_.takeOrigin()) {
    origins.push_back(*origin);
  }
  {
    const std::scoped_lock lock(mutex_);
    origins_.insert(origins_.end(), origins.begin(), origins.end());
    hasOrigins_ = !origins_.empty();
  }
  // An ended connection may be the last that is heard.
  const bool isEnding = accounts_.endings() != std::exchange(endings_, accounts_.endings());
  if (latest_ < nextSnapshot_ && !isEnding) return;
  nextSnapshot_ = latest_ + snapshotInterval;
  Snapshot snapshot{.time = latest_,
                    .books = accounts_.books(false),
                    .residualMs = accounts_.deviceTime().residualMs(),
                    .observedPhaseMs = accounts_.deviceTime().observedPhaseMs(),
                    .clockError = accounts_.deviceTime().clockError(),
                    .addresses = {},
                    .signs = {},
                    .ended = {},
                    .heard = accounts_.heard()};
  for (std::size_t glove = 0; glove < snapshot.addresses.size(); ++glove) {
    snapshot.addresses[glove] = accounts_.address(glove);
    snapshot.signs[glove] = accounts_.signs(glove);
    snapshot.ended[glove] = accounts_.ended(glove);
  }
  const std::scoped_lock lock(mutex_);
  snapshot_ = std::move(snapshot);
}

void LiveAccounts::beginReading(Time time)
{
  const std::scoped_lock lock(mutex_);
  inbox_.readingBegin = time;
}

void LiveAccounts::endReading(Time time)
{
  const std::scoped_lock lock(mutex_);
  inbox_.readingEnd = time;
}

void LiveAccounts::addRecord(Time time, std::span<const std::uint16_t> elements)
{
  Delivered record{time, {elements.begin(), elements.end()}};
  const std::scoped_lock lock(mutex_);
  inbox_.records.push_back(std::move(record));
}

std::optional<RecordOrigin> LiveAccounts::takeOrigin()
{
  if (!hasOrigins_.load(std::memory_order_relaxed)) return std::nullopt;
  const std::scoped_lock lock(mutex_);
  if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
  if (origins_.empty()) {
    hasOrigins_ = false;
    return std::nullopt;
  }
  const RecordOrigin origin = origins_.front();
  origins_.pop_front();
  hasOrigins_ = !origins_.empty();
  return origin;
}

void LiveAccounts::noteWritten()
{
  const std::scoped_lock lock(mutex_);
  ++inbox_.written;
}

void LiveAccounts::forgetHeard()
{
  const std::scoped_lock lock(mutex_);
  inbox_.forgetsHeard = true;
}

LiveAccounts::Snapshot LiveAccounts::snapshot() const
{
  const std::scoped_lock lock(mutex_);
  return snapshot_;
}

void LiveAccounts::settle()
{
  {
    const std::scoped_lock lock(mutex_);
    error_ = nullptr;  // known to whom received the capture
  }
  takeInbox();
  accounts_.settle(Time::max());
  nextSnapshot_ = latest_;
  handBack();
}

Books LiveAccounts::close()
{
  takeInbox();
  accounts_.noteDamage(reader_.skippedBytes() + reader_.unfinishedBytes());
  return accounts_.books(true);
}
