#include "tests/soak/ReadRules.h"

#include <cmath>

std::int32_t ReadRules::result(const Ledger::Turn& turn, std::uint32_t now)
{
  using Outcome = Ledger::Turn::Outcome;
  switch (turn.outcome) {
    case Outcome::dead:
      return -1;
    case Outcome::silent:
      return latest_ != 0 && now - latest_ > readTimeoutMs ? -1 : 0;
    case Outcome::tooShort:
    case Outcome::record:
      break;
  }
  take(*turn.record, now);
  return turn.outcome == Outcome::record ? 0 : -1;
}

void ReadRules::take(const Ledger::Record& record, std::uint32_t now)
{
  constexpr std::size_t late = 6;
  constexpr std::uint64_t ticksPerMs = 10;
  latest_ = now;
  const auto time = static_cast<std::uint32_t>((std::uint64_t{record.clock} + ticksPerMs / 2) / ticksPerMs);
  if (!hasBase_) base_ = now - time;
  hasBase_ = true;
  timestamp_ = base_ + time;
  if (record.backlog >= late) return;
  // Not modulo the clock's range: what follows when only one of the two has wrapped is known and bounded.
  const std::int64_t difference = std::int64_t{now} - std::int64_t{timestamp_};
  drift_ = static_cast<double>(difference) * (1 - 0.95) + drift_ * 0.95;
  timestamp_ += static_cast<std::uint32_t>(std::llround(std::trunc(drift_)));
}
