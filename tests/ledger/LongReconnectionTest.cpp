// Long recordings with random dropouts and losses. CONTRIBUTING.md says how to run more of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "simulator/WordReader.h"
#include "tests/ledger/RandomDropouts.h"
#include "tests/support/FromEnvironment.h"

namespace {

using simulator::toText;

std::string describe(const SessionPlan& plan)
{
  std::string text;
  for (const auto& step : plan.steps)
    text += toText("\n  ", step.at, " s ", step.command);
  return text;
}

TEST(LongReconnection, KeepsExactBooksOnOneTimeAxis)
{
  constexpr double maxSeconds = 2 * 3600;
  const auto first = static_cast<std::uint64_t>(fromEnvironment("TESSEL_LEDGER_SEED", 20261122));
  const double all =
      std::max(3 * dropoutInterval, 3600 * fromEnvironment("TESSEL_LEDGER_HOURS", TESSEL_LEDGER_HOURS));
  double done = 0;
  for (std::uint64_t seed = first; done < all; ++seed) {
    const double seconds = std::min(all, maxSeconds);
    done += seconds;
    const SessionPlan plan = randomDropouts(seed, seconds);
    const SessionResult result = record(plan);
    TimeError worst;
    for (const auto& glove : result.timeErrors) {
      for (std::size_t connection = 1; connection < glove.size(); ++connection) {
        worst.max = std::max(worst.max, glove[connection].max);
        worst.after5s = std::max(worst.after5s, glove[connection].after5s);
      }
    }
    std::printf(
        "seed %zu: %zu records, %zu reconnections, time error across gaps %.2f ms, after 5 s %.2f ms\n",
        static_cast<std::size_t>(seed), static_cast<std::size_t>(result.records), result.reconnections.size(),
        worst.max, worst.after5s);
    EXPECT_EQ(result.differences, "");
    EXPECT_EQ(result.books.balanced(), true);
    EXPECT_EQ(result.untimed, 0U);
    constexpr double interval = 10;
    EXPECT_LE(worst.max, interval);
    EXPECT_GE(static_cast<double>(result.reconnections.size()), 0.5 * seconds / dropoutInterval);
    EXPECT_TRUE(result.ending.words.starts_with("as requested")) << result.ending.words;
    EXPECT_FALSE(result.ending.failure);
    ASSERT_FALSE(HasFailure()) << "with TESSEL_LEDGER_SEED=" << seed << describe(plan);
  }
}

}  // namespace
