// The doctor's steps over the radio, with a simulated dongle in virtual time: each fault is found at its
// step.

#include "host/doctor/RadioSteps.h"

#include <gtest/gtest.h>

#include <sstream>

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
  StepExpectation expected;
  std::string commands = "";  // to the simulation, before the walk or, behind a number, at this second
  void (*change)(WantedGloves&) = [](WantedGloves&) {};
};

StepExpectation failing(const char* step, ExitCode code, const char* text, const char* fix)
{
  return {step, Result::failed, code, text, fix};
}

StepExpectation warning(const char* step, const char* text, const char* fix)
{
  return {step, Result::warning, ExitCode::done, text, fix};
}

StepExpectation good(const char* text)
{
  return {"sensors", Result::ok, ExitCode::done, text, ""};
}

using enum ExitCode;

const Row rows[] = {
    {"all is well", good("KVXGL00017: all good; KVXGR00018: all good")},
    {"no dongle", failing("dongle", noDongle, "there is no USB serial port", "Plug the dongle in"), "unplug"},
    {"dongle does not come back", failing("dongle", noDongle, "did not come back", "Unplug"), "stay-away on"},
    {"port in use", failing("dongle", port, "can't be opened", "Unplug the dongle"), "busy on"},
    {"dongle is mute", failing("firmware", noGloves, "does not answer", "BGAPI"), "mute on"},
    {"firmware too old", failing("firmware", firmware, "1.4.2.129 is too old: 1.4.2.130", "updated"),
     "firmware 1.4.2.129"},
    {"noise on the line", good("all good"), "noise 4000"},
    {"nothing is heard", failing("gloves", noGloves, "2 gloves wanted, 0 heard", "Switch the gloves on"),
     "hide both"},
    {"one of two", failing("gloves", noGloves, "2 gloves wanted, 1 heard", "--gloves 1"), "hide left"},
    {"wrong side", failing("gloves", noGloves, "heard but not wanted: right glove KVXGR00018", "--gloves 1"),
     "hide left", [](auto& wanted) { wanted.count = 1, wanted.side = "left"; }},
    {"other serial number",
     failing(
         "gloves", noGloves,
         "2 gloves of serial number 17 or 99 wanted, 1 heard; heard but not wanted: right glove KVXGR00018",
         "TesselSerialNumber"),
     "",
     [](auto& wanted) {
       wanted.serialNumbers = {17, 99};
     }},
    {"more than wanted", warning("gloves", "1 glove wanted, 2 heard", "TesselSerialNumber"), "",
     [](auto& wanted) { wanted.count = 1; }},
    {"weak", warning("radio", "KVXGL00017 (-93 dBm)", "closer"), "rssi left -93"},
    {"crowded", warning("radio", "12 other devices", "--wait 180"), "neighbours 12"},
    {"not connectable",
     failing("connection", gloves, "right glove KVXGR00018 is heard (-50 dBm) but can't be connected to",
             "Switch the glove off and on"),
     "refuse right on"},
    {"faulty sensors",
     failing("sensors", gloves,
             "KVXGL00017: thumb: absent or not ready (249), pinky: unknown fault (3); KVXGR00018: palm: "
             "command fault (255)",
             "TesselSkipSensorStartupCheck"),
     "sensor left thumb 249\nsensor left pinky 3\nsensor right palm 255"},
    {"faulty sensors, not checked", warning("sensors", "absent", "Check the cables"), "sensor left thumb 249",
     [](auto& wanted) { wanted.areSensorsChecked = false; }},
    {"silent once connected", warning("versions", "KVXGL00017: no version record was received", "off and on"),
     "5.515 silent left"},
};

TEST(RadioSteps, EachFaultIsFoundAtItsStep)
{
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    VirtualGloves gloves(2, 250, 1);
    const CaptureClosed closed;
    gloves.add("left", VirtualGloves::leftAndRight()[0]);
    gloves.add("right", VirtualGloves::leftAndRight()[1]);
    const auto execute = [&](const std::string& command) { gloves.execute(command); };
    std::istringstream commands(row.commands);
    for (std::string command; std::getline(commands, command);) {
      double at = 0;
      if (std::istringstream(command) >> at) {
        gloves.schedule({{at, command.substr(command.find(' ') + 1)}}, 0, execute);
      } else if (command == "busy on") {
        gloves.port().busy = true;
      } else {
        execute(command);
      }
    }
    WantedGloves wanted;
    row.change(wanted);
    StepList steps;
    DongleProbe probe([] { return true; });
    takeRadioSteps(probe, wanted, steps);
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
