// Scenarios: after each recording the books have to equal the simulator's ledger.

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
  bool canMixFrames = false;
};

void PrintTo(const Row& row, std::ostream* stream)
{
  *stream << row.name;
}

RecordingPlan plan(std::vector<std::string> setup, std::vector<RecordingPlan::Step> scenario = {},
                   double seconds = 60)
{
  return {.gloves = RecordingPlan::leftAndRight(),
          .setup = std::move(setup),
          .scenario = std::move(scenario),
          .seconds = seconds};
}

RecordingPlan with(RecordingPlan plan, const std::function<void(RecordingPlan&)>& change)
{
  change(plan);
  return plan;
}

const auto useOneGlove = [](RecordingPlan& plan) { plan.gloves.pop_back(); };
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
    {"heavyLoss", plan({"loss 30"}), {&Lost::radio, &Lost::unheard}},
    {"doubles", plan({"double 2"}), {&Lost::refused}},
    {"swaps", plan({"swap 2"}), {&Lost::refused, &Lost::radio}, true},
    {"lossDoublesAndSwaps", plan({"loss 2", "double 1", "swap 1"}), {&Lost::refused, &Lost::radio}, true},
    {"lossAtRest", with(plan({"loss 2"}), rest), {&Lost::radio, &Lost::pairing}},
    {"dropoutOfOneGlove",
     plan({}, {{10, "leave left"}, {15, "back left"}}),
     {&Lost::unheard, &Lost::pairing}},
    {"dropoutOfBoth", plan({}, {{10, "leave both"}, {15, "back both"}}), {&Lost::unheard}},
    {"dropoutsWithLoss",
     plan({"loss 2"}, {{10, "leave left"}, {15, "back left"}, {30, "leave right"}, {35, "back right"}}),
     {&Lost::unheard, &Lost::radio}},
    {"dropoutOfNineSeconds", plan({}, {{10, "leave left"}, {19, "back left"}}), {&Lost::unheard}},
    {"supervisionTimeout", plan({}, {{10, "leave left"}, {25, "back left"}}, 40), {&Lost::queued}},
    {"silentGlove", plan({}, {{10, "silent right"}}, 30), {&Lost::queued}},
    {"disconnection", plan({"loss 1"}, {{10, "drop left"}}, 30), {&Lost::queued}},
    {"unplugged", plan({}, {{10.01, "unplug"}}, 30)},
    {"hostPause", with(plan({}),
                       [](auto& plan) {
                         plan.pauses = {{10, 3}, {20, 0.5}, {30, 12}};
                       })},
    {"hostPauseWithLoss", with(plan({"loss 2"}),
                               [](auto& plan) {
                                 plan.pauses = {{10, 3}, {30, 8}};
                               })},
    {"rateChanges",
     plan({}, {{10, "rate 60"}, {20, "rate 25"}, {30, "rate left 33.3"}, {40, "rate 40"}}),
     {&Lost::pairing}},
    {"rateTooHigh", plan({"rate 100"}), {&Lost::unheard}},
    {"lowRate", plan({"rate 3"})},
    {"packetCountsChange",
     plan({}, {{10, "packets left 13"}, {12, "packets left 15"}, {20, "packets 2"}, {21, "packets 14"}}),
     {&Lost::faulty}},
    {"batteryChanges", plan({}, {{10, "battery left 9"}, {11, "battery 31"}})},
    {"smallFrames",
     with(plan({"packets 2", "loss 2"}), [](auto& plan) { plan.elements = 17; }),
     {&Lost::unheard},
     true},
    {"oneGlove", with(plan({"loss 2", "double 1"}), useOneGlove), {&Lost::refused, &Lost::radio}, true},
    {"oneGloveInPauses", with(with(plan({}), useOneGlove),
                              [](auto& plan) {
                                plan.pauses = {{10, 5}};
                              })},
    {"twoLeftGloves", with(plan({"loss 2"}), useLeftGloves), {&Lost::radio}},
    {"oldGloves", with(plan({"loss 2"}), useOldGloves), {&Lost::radio}},
    {"repeats", with(plan({}),
                     [](auto& plan) {
                       plan.repeats = {10, 20, 20.1};
                     })},
    {"discarded", with(plan({}), [](auto& plan) { plan.writtenSeconds = 55; }), {&Lost::discarded}},
    {"garbage", plan({}, {{10, "noise 40"}, {20, "noise 1"}, {30, "noise 500"}})},
};

class LedgerTest : public testing::TestWithParam<Row> {};

TEST_P(LedgerTest, EqualsTheBooks)
{
  const Comparison result = compare(GetParam().plan, GetParam().canMixFrames);
  EXPECT_EQ(result.differences, "");
  EXPECT_GT(result.records, 0U);
  Lost all;
  for (const GloveBooks& glove : result.ledger) {
    for (const Cause cause : {&Lost::unheard, &Lost::radio, &Lost::refused, &Lost::faulty, &Lost::pairing,
                              &Lost::queued, &Lost::discarded}) {
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
  compare(plan({}, {}, 1), false);
  EXPECT_EQ(::dlopen(TESSEL_TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
