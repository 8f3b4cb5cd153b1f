// A scenario: control commands, each with its time. As text, one line each, SECONDS COMMAND, counted from the
// start of the simulation, in any order; `#` begins a comment.
// Errors: std::invalid_argument while it is parsed, before any command is executed.
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

// The control must outlive the result.
ScenarioStep readScenarioStep(std::string_view line, Control& control);
// Error messages begin with the line number: "line 3: ...".
Scenario readScenario(std::istream& text, Control& control);

// Called for each executed command with its reply. May be empty.
using ScenarioReport = std::function<void(const std::string& command, const std::string& reply)>;

void schedule(Scenario scenario, VirtualClock& clock, const ScenarioReport& report);

}  // namespace simulator
