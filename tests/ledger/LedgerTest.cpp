// Scenarios in which the books distinguish each cause of a loss: after each recording they have to equal the
// simulator's ledger. The lives of the soak compare the rest.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "tests/ledger/Comparison.h"

namespace {

using Lost = GloveBooks::Lost;
using Cause = std::uint64_t Lost::*;

struct Row {
  const char* name;
  RecordingPlan plan;
  std::vector<Cause> causes = {};  // that the scenario must bring about
};

void PrintTo(const Row& row, std::ostream* stream)
{
  *stream << row.name;
}

RecordingPlan plan(std::vector<std::string> setup, std::vector<VirtualGloves::Step> scenario = {},
                   double seconds = 18)
{
  return {.gloves = VirtualGloves::leftAndRight(),
          .setup = std::move(setup),
          .scenario = std::move(scenario),
          .seconds = seconds};
}

RecordingPlan with(RecordingPlan plan, const std::function<void(RecordingPlan&)>& change)
{
  change(plan);
  return plan;
}

const auto useOldGloves = [](RecordingPlan& plan) {
  for (auto& glove : plan.gloves)
    glove.revision = 4;
};
const auto useLeftGloves = [](RecordingPlan& plan) { plan.gloves[1].name = "KVXGL00018"; };
// All frames of a hand at rest have the same samples.
const auto rest = [](RecordingPlan& plan) {
  for (auto& glove : plan.gloves)
    glove.movement = [](std::size_t element, std::uint64_t) {
      return static_cast<std::uint16_t>(300 + element);
    };
};

const Row rows[] = {
    {"nothing", plan({})},
    {"loss", plan({"loss 2"}), {&Lost::radio, &Lost::unheard, &Lost::refused, &Lost::pairing}},
    {"doubles", plan({"double 2"}), {&Lost::refused}},
    {"lossAtRest", with(plan({"loss 2"}), rest), {&Lost::radio, &Lost::pairing}},
    {"dropoutOfOneGlove", plan({}, {{4, "leave left"}, {9, "back left"}}), {&Lost::unheard, &Lost::pairing}},
    {"supervisionTimeout", plan({}, {{4, "leave left"}, {16, "back left"}}), {&Lost::queued}},
    {"rateChanges",
     plan({}, {{3, "rate 60"}, {6, "rate 25"}, {10, "rate left 33.3"}, {14, "rate 40"}}),
     {&Lost::pairing}},
    {"rateTooHigh", plan({"rate 100"}), {&Lost::unheard}},
    {"packetCountsChange",
     plan({}, {{3, "packets left 13"}, {5, "packets left 15"}, {9, "packets 2"}, {10, "packets 14"}}),
     {&Lost::faulty}},
    {"twoLeftGloves", with(plan({"loss 2"}), useLeftGloves), {&Lost::radio}},
    {"oldGloves", with(plan({"loss 2"}), useOldGloves), {&Lost::radio}},
};

class LedgerTest : public testing::TestWithParam<Row> {};

TEST_P(LedgerTest, EqualsTheBooks)
{
  const Comparison result = compare(GetParam().plan);
  EXPECT_EQ(result.differences, "");
  EXPECT_EQ(result.books.balanced(), true);
  EXPECT_GT(result.records, 0U);
  Lost all;
  for (const GloveBooks& glove : result.ledger) {
    for (const Cause cause :
         {&Lost::unheard, &Lost::radio, &Lost::refused, &Lost::faulty, &Lost::pairing, &Lost::queued}) {
      all.*cause += glove.lost.*cause;
    }
  }
  for (const Cause cause : GetParam().causes) {
    EXPECT_GT(all.*cause, 0U);
  }
}

INSTANTIATE_TEST_SUITE_P(All, LedgerTest, testing::ValuesIn(rows),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(TestPlugin, IsUnloadedAfterTheRecording)
{
  compare(plan({}, {}, 1));
  EXPECT_EQ(::dlopen(TESSEL_TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
