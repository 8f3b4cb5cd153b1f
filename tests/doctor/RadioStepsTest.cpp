// The doctor's steps over the radio, with a simulated dongle in virtual time: each fault is found at its
// step.

#include "host/doctor/RadioSteps.h"

#include <gtest/gtest.h>

#include "HwPlugins/HwTessel/serial/Capture.h"
#include "tests/doctor/StepExpectation.h"
#include "tests/support/Hex.h"
#include "tests/support/VirtualGloves.h"

namespace {

using Result = Step::Result;

// While the platform still exists.
struct CaptureClosed {
  ~CaptureClosed() { capture::close(); }
};

struct Row {
  const char* name;
  std::vector<std::string> commands;  // to the simulation, before the walk
  WantedGloves wanted;
  StepExpectation expected;
  VirtualGloves::Step later{0, ""};
};

const Row rows[] = {
    {"all is well",
     {},
     {},
     {"sensors", Result::ok, ExitCode::done, "KVXGL00017: all good; KVXGR00018: all good", ""}},
    {"no dongle",
     {"unplug"},
     {},
     {"dongle", Result::failed, ExitCode::noDongle, "there is no USB serial port", "Plug the dongle in"}},
    {"dongle does not come back",
     {"stay-away on"},
     {},
     {"dongle", Result::failed, ExitCode::noDongle, "did not come back", "Unplug the dongle"}},
    {"port in use",
     {"busy on"},
     {},
     {"dongle", Result::failed, ExitCode::port, "can't be opened", "Unplug the dongle"}},
    {"dongle is mute",
     {"mute on"},
     {},
     {"firmware", Result::failed, ExitCode::noGloves, "does not answer", "BGAPI"}},
    {"firmware too old",
     {"firmware 1.4.2.129"},
     {},
     {"firmware", Result::failed, ExitCode::firmware, "1.4.2.129 is too old: 1.4.2.130", "updated"}},
    {"noise on the line", {"noise 4000"}, {}, {"sensors", Result::ok, ExitCode::done, "all good", ""}},
    {"nothing is heard",
     {"hide both"},
     {},
     {"gloves", Result::failed, ExitCode::noGloves, "2 gloves wanted, 0 heard", "Switch the gloves on"}},
    {"one of two",
     {"hide left"},
     {},
     {"gloves", Result::failed, ExitCode::noGloves, "2 gloves wanted, 1 heard", "--gloves 1"}},
    {"wrong side",
     {"hide left"},
     {.count = 1, .side = "left"},
     {"gloves", Result::failed, ExitCode::noGloves, "heard but not wanted: right glove KVXGR00018",
      "--gloves 1"}},
    {"other serial number",
     {},
     {.serialNumbers = {17, 99}},
     {"gloves", Result::failed, ExitCode::noGloves,
      "2 gloves of serial number 17 or 99 wanted, 1 heard; heard but not wanted: right glove KVXGR00018",
      "TesselSerialNumber"}},
    {"more than wanted",
     {},
     {.count = 1},
     {"gloves", Result::warning, ExitCode::done, "1 glove wanted, 2 heard", "TesselSerialNumber"}},
    {"weak",
     {"rssi left -93"},
     {},
     {"radio", Result::warning, ExitCode::done, "KVXGL00017 (-93 dBm)", "closer"}},
    {"crowded",
     {"neighbours 12"},
     {},
     {"radio", Result::warning, ExitCode::done, "12 other devices", "--wait 180"}},
    {"not connectable",
     {"refuse right on"},
     {},
     {"connection", Result::failed, ExitCode::gloves,
      "right glove KVXGR00018 is heard (-50 dBm) but can't be connected to", "Switch the glove off and on"}},
    {"faulty sensors",
     {"sensor left thumb 249", "sensor left pinky 3", "sensor right palm 255"},
     {},
     {"sensors", Result::failed, ExitCode::gloves,
      "KVXGL00017: thumb: absent or not ready (249), pinky: unknown fault (3); KVXGR00018: palm: command "
      "fault (255)",
      "TesselSkipSensorStartupCheck"}},
    {"faulty sensors, not checked",
     {"sensor left thumb 249"},
     {.areSensorsChecked = false},
     {"sensors", Result::warning, ExitCode::done, "absent", "Check the cables"}},
    {"silent once connected",
     {},
     {},
     {"versions", Result::warning, ExitCode::done, "KVXGL00017: no version record was received",
      "off and on"},
     {5.515, "silent left"}},
};

TEST(RadioSteps, EachFaultIsFoundAtItsStep)
{
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    VirtualGloves gloves(2, 250, 1);
    const CaptureClosed closed;
    gloves.add("left", VirtualGloves::leftAndRight()[0]);
    gloves.add("right", VirtualGloves::leftAndRight()[1]);
    for (const std::string& command : row.commands) {
      command == "busy on" ? void(gloves.port().busy = true) : gloves.execute(command);
    }
    if (row.later.at > 0)
      gloves.schedule({row.later}, 0, [&](const std::string& command) { gloves.execute(command); });
    StepList steps;
    DongleProbe probe([] { return true; });
    takeRadioSteps(probe, row.wanted, steps);
    expectStep(steps, row.expected);
    EXPECT_EQ(steps.warnings(), row.expected.result == Result::warning ? 1U : 0U);
    if (row.expected.result == Result::failed) {
      EXPECT_EQ(steps.steps().back().name, row.expected.step);
    } else {
      EXPECT_EQ(steps.steps().back().name, "sensors");
    }
    EXPECT_LT(gloves.now(), 25);
  }
}

TEST(RadioSteps, AnInterruptionEndsThemSoonAndLeavesTheDongleIdle)
{
  const Bytes reset{0x00, 0x01, 0x00, 0x00, 0x00};
  VirtualGloves gloves(2, 250, 1);
  const CaptureClosed closed;
  const simulator::Glove& glove = gloves.add("left", VirtualGloves::leftAndRight()[0]);
  // Before the dongle's restart, listening, and connected.
  for (const double at : {0.3, 4.0, 5.52}) {
    SCOPED_TRACE(at);
    const double begin = gloves.now();
    {
      StepList steps;
      DongleProbe probe([&] { return gloves.now() < begin + at; });
      EXPECT_THROW(takeRadioSteps(probe, {.count = 1}, steps), Failure);
    }
    EXPECT_LT(gloves.now(), begin + at + 0.15);
    EXPECT_FALSE(glove.isConnected());
    const auto& written = gloves.port().written;
    EXPECT_TRUE(std::equal(reset.rbegin(), reset.rend(), written.rbegin()));
    gloves.platform().clock.advance(std::chrono::seconds(1));
  }
}

}  // namespace
