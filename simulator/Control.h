// Text commands that act on a dongle and its gloves while they run, for people at a terminal and for
// scenarios. A command is understood first, which changes nothing, and done then.
// Everything happens on the thread of the simulation. Errors: std::invalid_argument when a line is
// understood, with what is possible instead; what makes no difference at the moment (a drop of a glove that
// is not connected) is told in the reply.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Dongle.h"
#include "simulator/Glove.h"
#include "simulator/RandomFaults.h"
#include "simulator/Words.h"

namespace simulator {

class Control {
 public:
  // Does the command and gives the reply: a line, or several, without a break at the end.
  using Action = std::function<std::string()>;

  // The dongle must outlive it, and it its actions. `seed`: of noise and of packets that go wrong.
  Control(Dongle& dongle, std::uint64_t seed);
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  // The glove becomes known to commands by its name, such as "left".
  void addGlove(std::string_view name, Glove& glove);

  // What "busy" and "quit" do; without them they do nothing.
  std::function<void(bool hold)> holdPort;
  std::function<void()> quit;

  Action understand(std::string_view line);
  std::string execute(std::string_view line) { return understand(line)(); }

  // All commands, a line each.
  static std::string help();
  // "not connected", "connected" or "streaming"
  static std::string_view linkOf(const Glove& glove);

 private:
  struct NamedGlove {
    std::string_view name;
    Glove& glove;
    std::shared_ptr<RandomFaults> faults;
  };
  using Selection = std::vector<NamedGlove*>;
  struct Row {
    std::string_view name;
    std::string_view parameters;
    std::string_view effect;
    Action (Control::*read)(Words& words);

    std::string usage() const;
  };

  static const std::vector<Row>& rows();

  Selection gloves(Words& words);
  // All gloves, if the next word names none.
  Selection glovesOrAll(Words& words);
  // The reply has the name of each glove and what is told of it.
  static Action forEach(Selection selection, std::function<std::string(NamedGlove&)> act);

  // One for each command: reads its parameters.
  Action drop(Words& words);
  Action silent(Words& words);
  Action leave(Words& words);
  Action back(Words& words);
  Action hide(Words& words);
  Action show(Words& words);
  Action rename(Words& words);
  Action battery(Words& words);
  Action rate(Words& words);
  Action packets(Words& words);
  Action loss(Words& words);
  Action doubled(Words& words);
  Action swap(Words& words);
  Action sensor(Words& words);
  Action unplug(Words& words);
  Action plug(Words& words);
  Action busy(Words& words);
  Action restartTime(Words& words);
  Action stayAway(Words& words);
  Action mute(Words& words);
  Action noise(Words& words);
  Action firmware(Words& words);
  Action status(Words& words);
  Action showHelp(Words& words);
  Action end(Words& words);

  Action chance(Words& words, double RandomFaults::*percent);
  std::string dongleStatus() const;
  static std::string gloveStatus(const Glove& glove);

  Dongle& dongle_;
  std::uint64_t seed_;
  std::mt19937 random_;
  std::deque<NamedGlove> gloves_;
};

}  // namespace simulator
