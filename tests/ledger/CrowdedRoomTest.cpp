// Openings among other Bluetooth devices, in virtual time. CONTRIBUTING.md says how to repeat the figures in
// docs/simulator.md.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/FromEnvironment.h"
#include "tests/support/VirtualPlugin.h"

namespace {

// Seconds until a host that opens the gloves again and again has opened them; at most about a minute.
struct Opening {
  bool isDone = false;
  bool isFirst = false;  // attempt
  double seconds = 0;
};

Opening open(std::size_t count, const std::string& neighbours, std::uint64_t seed)
{
  constexpr double patience = 60;
  constexpr std::size_t elements = 125;
  VirtualGloves gloves(count, elements, seed);
  const auto configs = VirtualGloves::leftAndRight();
  for (std::size_t glove = 0; glove < count; ++glove) {
    gloves.add(glove == 0 ? "left" : "right", configs[glove]);
  }
  gloves.execute("neighbours " + neighbours);
  Opening opening{.isFirst = true};
  while (!opening.isDone && gloves.now() < patience) {
    opening.isFirst = gloves.now() == 0;
    opening.isDone = !VirtualPlugin(gloves, pluginSettings(count, elements)).open();
  }
  opening.seconds = gloves.now();
  return opening;
}

// Of hosts that open the gloves again and again for a minute.
struct Outcome {
  std::size_t first = 0;      // hosts whose first opening succeeded
  std::vector<double> waits;  // of those that succeeded: seconds until the gloves were open, in order
};

Outcome openAll(std::size_t gloves, const std::string& neighbours, std::size_t hosts)
{
  Outcome outcome;
  for (std::size_t host = 0; host < hosts; ++host) {
    const Opening opening = open(gloves, neighbours, host + 1);
    if (!opening.isDone) continue;
    if (opening.isFirst) ++outcome.first;
    outcome.waits.push_back(opening.seconds);
  }
  std::ranges::sort(outcome.waits);
  return outcome;
}

TEST(CrowdedRoom, APatientHostOpensTheGlovesWhereOneOpeningFails)
{
  const auto hosts = static_cast<std::size_t>(fromEnvironment("TESSEL_ROOM_OPENINGS", TESSEL_ROOM_OPENINGS));
  const auto percentOf = [hosts](std::size_t count) {
    return 100 * static_cast<double>(count) / static_cast<double>(hosts);
  };
  struct Row {
    const char* neighbours;
    std::size_t gloves;
    double minFirst, maxFirst, minPercent;
  };
  std::printf("neighbours, gloves, %% opened at first and in the end, seconds for half and 90 %% of these\n");
  for (const auto& [neighbours, gloves, minFirst, maxFirst, minPercent] : {
           Row{"0", 2, 100, 100, 100},
           Row{"3", 2, 0, 90, 100},
           Row{"6", 2, 0, 70, 100},
           Row{"12", 2, 0, 30, 95},
           Row{"30", 2, 0, 25, 30},
           Row{"12 2", 2, 0, 100, 100},
           Row{"12 5", 2, 0, 90, 100},
           Row{"12 10", 2, 0, 60, 95},
           Row{"0", 1, 100, 100, 100},
           Row{"12", 1, 0, 60, 95},
           Row{"30", 1, 0, 40, 90},
       }) {
    const Outcome outcome = openAll(gloves, neighbours, hosts);
    const double first = percentOf(outcome.first), percent = percentOf(outcome.waits.size());
    const auto waited = [&waits = outcome.waits](double share) {
      return waits[static_cast<std::size_t>(share * static_cast<double>(waits.size() - 1))];
    };
    ASSERT_FALSE(outcome.waits.empty()) << neighbours;
    std::printf("%-5s %zu  %5.1f %5.1f  %4.1f %4.1f\n", neighbours, gloves, first, percent, waited(0.5),
                waited(0.9));
    EXPECT_GE(first, minFirst) << neighbours;
    EXPECT_LE(first, maxFirst) << neighbours;
    EXPECT_GE(percent, minPercent) << neighbours;
  }
}

}  // namespace
