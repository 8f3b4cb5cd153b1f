// The doctor's measurement with simulated gloves in virtual time: what is wrong with the link or with a glove
// is found by its step.

#include <gtest/gtest.h>

#include "host/doctor/MeasurementSteps.h"
#include "host/gloves/SettingsFile.h"
#include "tests/doctor/StepExpectation.h"
#include "tests/ledger/VirtualConnector.h"
#include "tests/support/VirtualRecording.h"

namespace {

using Result = Step::Result;

constexpr std::size_t elements = 125;

Measurement measureVirtually(const std::vector<std::string>& setup,
                             const std::vector<VirtualGloves::Step>& later)
{
  VirtualGloves gloves(2, elements, 1);
  gloves.add("left", VirtualGloves::leftAndRight()[0]);
  gloves.add("right", VirtualGloves::leftAndRight()[1]);
  for (const std::string& command : setup) {
    gloves.execute(command);
  }
  LiveAccounts accounts(2, elements);
  VirtualConnector connector(gloves, &accounts, valuesFor(2));
  RecordSource& source = connector.connect([] { return true; });
  gloves.schedule(later, gloves.now(), [&](const std::string& command) { gloves.execute(command); });
  const Layout layout{
      .elements = 2 * elements,
      .groups = {{"left", "KVXGL00017", 0, elements}, {"right", "KVXGR00018", elements, elements}}};
  return measure(connector, source, layout, &accounts, 10, false, [&] { return gloves.platform().uptime(); });
}

struct Row {
  const char* name;
  double sampledPerSecond;  // by the gloves' clocks
  StepExpectation expected;
  std::vector<std::string> setup = {};
  std::vector<VirtualGloves::Step> later = {};  // seconds after the gloves were opened
};

StepExpectation warning(const char* step, const char* text, const char* fix)
{
  return {step, Result::warning, ExitCode::done, text, fix};
}

StepExpectation silent(const char* text, const char* fix)
{
  return {"frames", Result::failed, ExitCode::silence, text, fix};
}

const Row rows[] = {
    {"all is well", 40, {"frames", Result::ok, ExitCode::done, "40.0 a second; the gloves sample 40.0", ""}},
    {"lost packets", 40, warning("losses", "radio", "closer"), {"loss left 2"}},
    {"rates differ", 44, warning("losses", "pairing", "different rates"), {"rate left 44"}},
    {"too fast for the radio",
     80,
     warning("frames", "the gloves sample 80.0", "The radio carries"),
     {"rate 80"}},
    {"frames wait", 80, warning("latency", "arrives", "sample more slowly"), {"rate 80"}},
    {"a pause of the radio",
     40,
     warning("silence", "the longest silence took 1", "closer"),
     {},
     {{3, "leave left"}, {4, "back left"}}},
    {"the connection ends",
     40,
     silent("the connection to the left glove was lost", ""),
     {},
     {{3, "drop left"}}},
    {"nothing from the beginning", 40, silent("", "switched on"), {}, {{0, "silent both"}}},
};

TEST(Measurement, WhatIsWrongIsFoundByItsStep)
{
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Measurement measurement = measureVirtually(row.setup, row.later);
    measurement.sampledPerSecond = {row.sampledPerSecond, row.sampledPerSecond};
    measurement.figures.battery = 0.75;
    StepList steps;
    takeMeasurementSteps(measurement, steps);
    expectStep(steps, row.expected);
    if (row.expected.result == Result::ok) {
      EXPECT_EQ(steps.warnings(), 0U);
    }
  }
}

TEST(Measurement, AWeakBatteryOrABadCrystalIsAWarning)
{
  Measurement measurement;
  measurement.labels = {"left", "right"};
  measurement.figures.records = 400;
  measurement.figures.battery = 0.125;
  measurement.clocks = {ClockError{50e-6, 1e-6}, ClockError{-900e-6, 1e-6}};
  StepList steps;
  takeMeasurementSteps(measurement, steps);
  EXPECT_EQ(steps.warnings(), 2U);
  EXPECT_EQ(steps.steps().back().text, "left +50 ppm (within 1), right -900 ppm (within 1)");
}

TEST(GloveClocks, AreWithinTheirBoundAlsoWhereFramesKeepWaiting)
{
  struct Case {
    double left, right, seconds, bound;
  };
  for (const auto& [left, right, seconds, bound] :
       {Case{900e-6, -300e-6, 12, 2.8e-3}, Case{-50e-6, 75e-6, 90, 0.3e-3}}) {
    SCOPED_TRACE(seconds);
    RecordingPlan plan{.gloves = VirtualGloves::leftAndRight(), .setup = {}, .seconds = seconds};
    plan.gloves[0].clockError = left;
    plan.gloves[1].clockError = right;
    plan.gloves[1].framesPerSecond = 25;
    GloveClocks clocks;
    VirtualRecording recording(plan);
    recording.onCapture = [&](std::span<const std::uint8_t> bytes) { clocks.add(bytes); };
    recording.run();
    for (const std::size_t glove : {0U, 1U}) {
      const auto error = clocks.error(glove);
      ASSERT_TRUE(error);
      EXPECT_LE(error->bound, bound);
      EXPECT_NEAR(error->value, plan.gloves[glove].clockError, error->bound);
      EXPECT_NEAR(clocks.framesPerSecond(glove).value_or(0), glove == 0 ? 40 : 25, 0.1);
    }
  }
}

}  // namespace
