// Random recordings, one after the other. CONTRIBUTING.md says how to run it for longer.

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/ledger/Comparison.h"
#include "tests/ledger/RandomPlan.h"
#include "tests/support/FromEnvironment.h"

namespace {

std::string describe(const RecordingPlan& plan)
{
  std::string text = simulator::toText("\n  ", plan.gloves.size(), " gloves, ", plan.seconds, " s, written ",
                                       plan.writtenSeconds, " s");
  for (const std::string& command : plan.setup)
    text += "\n  setup " + command;
  for (const auto& step : plan.scenario)
    text += simulator::toText("\n  ", step.at, " s ", step.command);
  for (const auto& pause : plan.pauses)
    text += simulator::toText("\n  ", pause.at, " s pause of ", pause.seconds, " s");
  for (const double at : plan.repeats)
    text += simulator::toText("\n  ", at, " s repeat");
  return text;
}

TEST(RandomLedger, EqualsTheBooks)
{
  const auto first = static_cast<std::uint64_t>(fromEnvironment("TESSEL_LEDGER_SEED", 20261121));
  const double hours = fromEnvironment("TESSEL_LEDGER_HOURS", TESSEL_LEDGER_HOURS);
  std::printf("first seed %zu, %g virtual hours\n", static_cast<std::size_t>(first), hours);
  double seconds = 0;
  std::uint64_t records = 0, frames = 0, ambiguous = 0, recordings = 0;
  for (std::uint64_t seed = first; seconds == 0 || seconds < hours * 3600; ++seed) {
    const RecordingPlan plan = randomPlan(seed);
    const Comparison result = compare(plan, true);
    ASSERT_EQ(result.differences, "")
        << "with TESSEL_LEDGER_SEED=" << seed << " TESSEL_LEDGER_HOURS=0:" << describe(plan);
    seconds += plan.seconds;
    records += result.records;
    ++recordings;
    for (const GloveBooks& glove : result.books.gloves) {
      frames += glove.sent;
      ambiguous += glove.ambiguous;
    }
  }
  std::printf("%zu recordings, %zu records, %zu frames, %zu ambiguous stretches\n",
              static_cast<std::size_t>(recordings), static_cast<std::size_t>(records),
              static_cast<std::size_t>(frames), static_cast<std::size_t>(ambiguous));
}

}  // namespace
