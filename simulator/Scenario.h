// A simulation's programme: commands of the control, each at its time. As text, a line each of SECONDS
// COMMAND, counted from the beginning of the simulation, in any order; `#` begins a comment. Errors:
// std::invalid_argument, when it is read; nothing is done by then.
#pragma once

#include <functional>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/Control.h"
#include "simulator/VirtualClock.h"

namespace simulator {

struct ScenarioStep {
  Duration time;
  std::string command;
  Control::Action action;
};

using Scenario = std::vector<ScenarioStep>;

// The control must outlive what is read.
ScenarioStep readScenarioStep(std::string_view line, Control& control);
// Its errors begin with the number of the line: "line 3: ...".
Scenario readScenario(std::istream& text, Control& control);

// Told of each command that was done, and of its reply. May be empty.
using ScenarioReport = std::function<void(const std::string& command, const std::string& reply)>;

void schedule(Scenario scenario, VirtualClock& clock, const ScenarioReport& report);

}  // namespace simulator
