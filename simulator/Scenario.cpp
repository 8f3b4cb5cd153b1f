#include "simulator/Scenario.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "simulator/WordReader.h"

namespace simulator {

ScenarioStep readScenarioStep(std::string_view line, Control& control)
{
  constexpr double maxSeconds = 100'000;
  WordReader words(line);
  const std::chrono::duration<double> time(words.number("the time in seconds", 0, maxSeconds));
  return {std::chrono::round<Duration>(time), std::string(words.rest()), control.understand(words.rest())};
}

Scenario readScenario(std::istream& text, Control& control)
{
  Scenario scenario;
  std::string line;
  for (int number = 1; std::getline(text, line); ++number) {
    const std::string_view content = std::string_view(line).substr(0, line.find('#'));
    if (WordReader(content).atEnd()) continue;
    try {
      scenario.push_back(readScenarioStep(content, control));
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument(toText("line ", number, ": ", error.what()));
    }
  }
  return scenario;
}

void schedule(Scenario scenario, VirtualClock& clock, const ScenarioReport& report)
{
  for (ScenarioStep& step : scenario) {
    const Duration delay = std::max(step.time - clock.now(), Duration{0});
    clock.after(delay, [step = std::move(step), report] {
      const std::string reply = step.action();
      if (report) report(step.command, reply);
    });
  }
}

}  // namespace simulator
