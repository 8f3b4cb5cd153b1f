// Text commands and scenarios, on a dongle that gets its commands as bytes.

#include "simulator/Control.h"

#include <gtest/gtest.h>

#include "simulator/Grasp.h"
#include "simulator/Scenario.h"

namespace {

using namespace std::chrono_literals;

class Control : public testing::Test {
 protected:
  Control()
  {
    dongle_.onSend = [this](std::span<const std::uint8_t> bytes) { sent_ += bytes.size(); };
    control_.addGlove("left", left_);
    control_.addGlove("right", right_);
    left_.config.movement = simulator::Grasp(left_.config, simulator::Hand::left, 1);
  }

  void send(const std::vector<std::uint8_t>& command) { dongle_.receive(command); }
  // Connects both gloves, asks for an interval of 20 ms, and starts the notifications.
  void stream()
  {
    for (const std::uint8_t number : {std::uint8_t{0}, std::uint8_t{1}}) {
      std::vector<std::uint8_t> connect{0, 15, 6, 3, 0, 8, 0, 8, 0, 0xE8, 3, 0, 0};
      const auto& address = (number == 0 ? left_ : right_).config.address;
      connect.insert(connect.begin() + 4, address.begin(), address.end());
      send(connect);
      clock_.advance(100ms);
      send({0, 9, 3, 2, number, 16, 0, 16, 0, 0, 0, 0xE8, 3});
      send({0, 6, 4, 5, number, 18, 0, 2, 1, 0});
      clock_.advance(100ms);
    }
    ASSERT_TRUE(left_.isNotifying() && right_.isNotifying());
  }

  // The reply or the error. A scenario has no reply.
  std::string say(const std::string& line, bool isScenario = false)
  try {
    if (!isScenario) return control_.execute(line);
    std::istringstream text(line);
    schedule(readScenario(text, control_), clock_, {});
    return "";
  } catch (const std::invalid_argument& error) {
    return std::string("error: ") + error.what();
  }

  VirtualClock clock_;
  simulator::Dongle dongle_{clock_};
  simulator::Glove &left_ = dongle_.addGlove({}), &right_ = dongle_.addGlove({});
  simulator::Control control_{dongle_, 1};
  std::size_t sent_ = 0;
};

TEST_F(Control, EachCommandTakesEffectOrReportsAnError)
{
  stream();
  const std::size_t before = sent_;
  const auto& left = left_.config;
  const auto any = [] { return true; };
  struct Row {
    const char *line, *part;  // of the reply
    std::function<bool()> holds;
  };
  for (const auto& [line, part, holds] : std::vector<Row>{
           {"noise 300", "300", [&] { return sent_ == before + 300; }},
           {"battery 12", "left: battery 12; right: battery 12", [&] { return left.batteryCode == 12; }},
           {" Battery RIGHT\t19 ", "right: battery 19", [&] { return left.batteryCode == 12; }},
           {"battery 32", "error: CODE must be a whole number from 0 to 31, not '32'; usage: battery", any},
           {"battery middle 3", "error: GLOVE must be left, right, both or all, not 'middle'", any},
           {"name left KVXGL00017 : \x1B", "left: advertises as KVXGL00017 : \x1B",
            [&] { return left.name == "KVXGL00017 : \x1B"; }},
           {"name left", "error: TEXT is missing; usage: name GLOVE TEXT", any},
           {"unplug now", "error: unexpected argument 'now'; usage: unplug", any},
           {"rate left 1e2", "100 frames/s", [&] { return left.framesPerSecond == 100; }},
           {"rate -nan", "error: HZ must be a number from 0.1 to 1000", any},
           {"drift right -50", "right: drift -50 ppm",
            [&] { return right_.config.clockError == -50 * 1e-6; }},
           {"drift 1001", "error: PPM must be a number from -1000 to 1000, not '1001'; usage: drift", any},
           {"rssi LEFT -91.2", "left: -91 dBm",
            [&] { return left.rssi == -91 && right_.config.rssi == -50; }},
           {"rssi -128", "error: DBM must be a number from -127 to 20, not '-128'; usage: rssi", any},
           {"refuse right on", "right: refuses connections", [&] { return right_.isConnected(); }},
           {"status", "right: streaming, refuses connections, -50 dBm, 40 frames/s", any},
           {"refuse right off", "right: accepts connections", [&] { return !right_.refusesConnections(); }},
           {"sensor left thumb 0xF9", "249", [&] { return left.sensorStatus[1] == 249; }},
           {"firmware 1.2.3", "error: A.B.C.D are four numbers", any},
           {"busy maybe", "error: the word must be on or off, not 'maybe'", any},
           {"neighbours 12", "12 neighbours at 20/s each", any},
           {"neighbours 1 0.5", "1 neighbour at 0.5/s each", any},
           {"status", "firmware 1.4.2.130, 1 neighbour at 0.5/s each\nleft: streaming", any},
           {"neighbours 201", "error: N must be a whole number from 0 to 200, not '201'; usage: neighbours",
            any},
           {"neighbours 3 51", "error: PER-SECOND must be a number from 0.1 to 50, not '51'", any},
           {"silent left", "silent", [&] { return left_.isConnected() && !left_.isNotifying(); }},
           {"drop left 0x213", "reason 0x0213", [&] { return !left_.isConnected(); }},
           {"restart left", "restarted", [&] { return left_.frames() == 0; }},
           {"leave right", "out of range", [&] { return clock_.advance(9s), right_.isConnected(); }},
           {"back right", "in range", [&] { return clock_.advance(9s), right_.isNotifying(); }},
           {"status", "right: streaming, -50 dBm, 40 frames/s of 14 packets", any},
           {"dance", "error: there is no command 'dance'; use drop, silent, ", any},
       }) {
    const std::string reply = say(line);
    EXPECT_NE(reply.find(part), std::string::npos) << line << " -> " << reply;
    EXPECT_TRUE(holds()) << line;
  }
}

TEST_F(Control, AScenarioIsCheckedWhenReadAndRunsAtItsTimes)
{
  EXPECT_EQ(say("# start\n\n1 silent left\n2 mute\n", true),
            "error: line 4: the word is missing; usage: mute on|off");
  EXPECT_EQ(say("10.5 plug  # again\r\n2 unplug\n", true), "");
  stream();
  clock_.advance(1800ms - clock_.now());
  send({0, 1, 0, 0, 0});
  // Unplugged while it restarts, which would bring it back at 2.1 s.
  clock_.advance(10799ms - clock_.now());
  EXPECT_FALSE(dongle_.isPresent());
  clock_.advance(1ms);
  EXPECT_TRUE(dongle_.isPresent());
  stream();
  sent_ = 0;
  say("unplug");
  EXPECT_EQ(sent_, 0U) << "the host gets no event";
  EXPECT_FALSE(left_.isConnected() || right_.isConnected());
}

}  // namespace
