#include "host/gloves/SimulatedGloves.h"

#include <fmt/core.h>

#include <chrono>
#include <fstream>
#include <stdexcept>

#include "host/base/Failure.h"
#include "host/base/Text.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* seeCommands = "`tessel sim --help` lists the options, docs/simulator.md the commands.";

}  // namespace

SimulatedGloves::SimulatedGloves(const SimulationOptions& options) : control_(dongle_, options.seed)
{
  if (options.hasLeft) addGlove(simulator::Hand::left, options.leftSerialNumber, options);
  if (options.hasRight) addGlove(simulator::Hand::right, options.rightSerialNumber, options);
  control_.holdPort = [this](bool hold) {
    isHeld_ = hold;
    if (port_) port_->pty().holdPort(hold);
  };
  control_.quit = [this] {
    if (running_ != nullptr) *running_ = true;
  };
  try {
    applyOptions(options);
  } catch (const std::invalid_argument& error) {
    throw Failure(ExitCode::usage, error.what(), seeCommands);
  }
  port_.emplace(clock_, dongle_, options.port);
  port_->pty().holdPort(isHeld_);
}

SimulatedGloves::~SimulatedGloves()
{
  stop_ = true;
  if (thread_.joinable()) thread_.join();
}

void SimulatedGloves::addGlove(simulator::Hand hand, std::uint32_t serialNumber,
                               const SimulationOptions& options)
{
  const bool isLeft = hand == simulator::Hand::left;
  simulator::GloveConfig config;
  config.name = fmt::format("KVXG{}{:05}", isLeft ? 'L' : 'R', serialNumber);
  config.revision = options.moduleRevision;
  config.batteryCode = 17;
  simulator::Glove& glove = dongle_.addGlove(config);
  glove.config.movement = simulator::Grasp(glove.config, hand, options.seed + (isLeft ? 0 : 1));
  gloves_.push_back({isLeft ? "left" : "right", glove, simulator::Control::linkOf(glove)});
  control_.addGlove(gloves_.back().side, glove);
}

void SimulatedGloves::applyOptions(const SimulationOptions& options)
{
  // Adds the place of the text that the control rejects.
  const auto from = [](const std::string& place, const auto& act) {
    try {
      act();
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument(fmt::format("{}: {}", place, error.what()));
    }
  };
  for (const std::string& line : options.schedule) {
    from("--at", [&] { scenario_.push_back(simulator::readScenarioStep(line, control_)); });
  }
  if (!options.scenario.empty()) {
    std::ifstream file(options.scenario);
    std::error_code error;
    if (!file || fs::is_directory(options.scenario, error)) {
      throw std::invalid_argument(fmt::format("the scenario {} can't be read", utf8(options.scenario)));
    }
    from(utf8(options.scenario), [&] {
      for (simulator::ScenarioStep& step : simulator::readScenario(file, control_)) {
        scenario_.push_back(std::move(step));
      }
    });
  }
  for (const std::string& command : options.setup) {
    from("--" + command.substr(0, command.find(' ')), [&] { control_.execute(command); });
  }
}

void SimulatedGloves::run(std::atomic<bool>& stop)
{
  running_ = &stop;
  simulator::schedule(std::move(scenario_), clock_,
                      [this](const std::string& command, const std::string& reply) {
                        report(fmt::format("{} -> {}", command, reply));
                      });
  if (onReport) repeat(std::chrono::milliseconds(20), [this] { reportLinks(); });
  port_->pty().run(stop);
  dongle_.unplug();
}

void SimulatedGloves::start()
{
  repeat(std::chrono::milliseconds(20),
         [this] { requests_.answer([this](const std::string& command) { return execute(command); }); });
  thread_ = std::thread([this] {
    // Whatever ends the simulation, nobody waits for a reply any more.
    struct Ended {
      RequestQueue& requests;
      ~Ended() { requests.close(); }
    } const ended{requests_};
    try {
      run(stop_);
    } catch (const std::exception& error) {
      // The dongle has gone, which the host of the port notices by itself.
      try {
        report(error.what());
      } catch (const std::exception&) {
        // Without memory there is no report.
      }
    }
  });
}

std::string SimulatedGloves::request(const std::string& command)
{
  constexpr std::chrono::seconds maxReplyTime(10);
  if (const auto reply = requests_.ask(command, maxReplyTime)) return *reply;
  throw Failure(ExitCode::refused, "the simulation has ended.", "Open the simulated gloves again.");
}

std::string SimulatedGloves::execute(const std::string& command)
{
  try {
    return control_.execute(command);
  } catch (const std::invalid_argument& error) {
    throw Failure(ExitCode::refused, error.what(), "docs/simulator.md lists the commands.");
  }
}

void SimulatedGloves::repeat(simulator::Duration period, const std::function<void()>& action)
{
  clock_.after(period, [this, period, action] {
    action();
    repeat(period, action);
  });
}

void SimulatedGloves::report(const std::string& text) const
{
  const std::chrono::duration<double> time = clock_.now();
  if (onReport) onReport(fmt::format("{:8.2f} s  {}", time.count(), text));
}

void SimulatedGloves::reportLinks()
{
  for (SimulatedGlove& each : gloves_) {
    const std::string_view link = simulator::Control::linkOf(each.glove);
    if (link != each.link) report(fmt::format("{}: {}", each.side, link));
    each.link = link;
  }
}
