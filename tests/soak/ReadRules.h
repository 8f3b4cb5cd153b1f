// What the records' timestamps and the results of the reads have to be: the rules of one hardware object,
// worked out again, in whole numbers where the plug-in divides.
#pragma once

#include <cstdint>

#include "tests/support/Ledger.h"

class ReadRules {
 public:
  // After each read: its expected result, at this time of the host's clock.
  std::int32_t result(const Ledger::Turn& turn, std::uint32_t now);
  // Of the latest record.
  std::uint32_t timestamp() const { return timestamp_; }

 private:
  static constexpr std::uint32_t readTimeoutMs = 10'000;

  void take(const Ledger::Record& record, std::uint32_t now);

  bool hasBase_ = false;
  std::uint32_t base_ = 0;  // host's clock when the glove's clock was 0
  std::uint32_t latest_ = 0;
  std::uint32_t timestamp_ = 0;
  double drift_ = 0;
};
