// Text commands that control a running dongle and its gloves, for people at a terminal and for scenarios. A
// command is parsed first, which changes nothing, and executed afterwards. Everything runs on the
// simulation's thread.
// Errors: parsing throws std::invalid_argument, which names the valid choices; the reply reports a command
// without effect (a drop of a glove that is not connected).
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
#include "simulator/WordReader.h"

namespace simulator {

class Control {
 public:
  // Executes the command and returns the reply: one or more lines, without a newline at the end.
  using Action = std::function<std::string()>;

  // The dongle must outlive the control, and the control its actions. `seed`: of noise, neighbours and random
  // packet faults.
  Control(Dongle& dongle, std::uint64_t seed);
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;

  // Makes the glove known to commands by its name, such as "left".
  void addGlove(std::string_view name, Glove& glove);

  // Actions of "busy" and "quit"; without them these commands do nothing.
  std::function<void(bool hold)> holdPort;
  std::function<void()> quit;

  Action understand(std::string_view line);
  std::string execute(std::string_view line) { return understand(line)(); }

  // All commands, one per line.
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
    Action (Control::*read)(WordReader& words);

    std::string usage() const;
  };

  static const std::vector<Row>& rows();

  Selection gloves(WordReader& words);
  // All gloves, if the next word names none.
  Selection glovesOrAll(WordReader& words);
  // The reply lists each glove's name with the text that `act` returns for it.
  static Action forEach(Selection selection, std::function<std::string(NamedGlove&)> act);

  // One for each command: parses its parameters.
  Action drop(WordReader& words);
  Action silent(WordReader& words);
  Action leave(WordReader& words);
  Action back(WordReader& words);
  Action restart(WordReader& words);
  Action hide(WordReader& words);
  Action show(WordReader& words);
  Action rename(WordReader& words);
  Action refuse(WordReader& words);
  Action rssi(WordReader& words);
  Action battery(WordReader& words);
  Action rate(WordReader& words);
  Action drift(WordReader& words);
  Action packets(WordReader& words);
  Action loss(WordReader& words);
  Action doubled(WordReader& words);
  Action swap(WordReader& words);
  Action sensor(WordReader& words);
  Action unplug(WordReader& words);
  Action plug(WordReader& words);
  Action busy(WordReader& words);
  Action restartTime(WordReader& words);
  Action stayAway(WordReader& words);
  Action mute(WordReader& words);
  Action noise(WordReader& words);
  Action firmware(WordReader& words);
  Action neighbours(WordReader& words);
  Action status(WordReader& words);
  Action showHelp(WordReader& words);
  Action end(WordReader& words);

  Action chance(WordReader& words, double RandomFaults::*percent);
  std::string dongleStatus() const;
  std::string neighbourStatus() const;
  static std::string gloveStatus(const Glove& glove);

  Dongle& dongle_;
  std::uint64_t seed_;
  std::mt19937 random_;
  std::deque<NamedGlove> gloves_;
};

}  // namespace simulator
