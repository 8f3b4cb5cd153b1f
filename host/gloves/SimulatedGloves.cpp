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
  takesRequests_ = true;
  repeat(std::chrono::milliseconds(20), [this] { executeRequests(); });
  thread_ = std::thread([this] {
    // Whatever ends the simulation, nobody waits for a reply any more.
    struct Ended {
      SimulatedGloves& gloves;
      ~Ended() { gloves.endRequests(); }
    } const ended{*this};
    try {
      run(stop_);
    } catch (const std::exception& error) {
      // The dongle has gone, which the host of the port notices by itself.
      report(error.what());
    }
  });
}

std::string SimulatedGloves::request(const std::string& command)
{
  const Failure over(ExitCode::refused, "the simulation has ended.", "Open the simulated gloves again.");
  std::future<std::string> reply;
  {
    const std::scoped_lock lock(mutex_);
    if (!takesRequests_) throw over;
    requests_.push_back({command, {}});
    reply = requests_.back().reply.get_future();
  }
  try {
    return reply.get();
  } catch (const std::future_error&) {
    throw over;
  }
}

void SimulatedGloves::executeRequests()
{
  std::vector<Request> requests;
  {
    const std::scoped_lock lock(mutex_);
    std::swap(requests, requests_);
  }
  for (Request& request : requests) {
    execute(request);
  }
}

void SimulatedGloves::execute(Request& request)
{
  try {
    request.reply.set_value(control_.execute(request.command));
  } catch (const std::invalid_argument& error) {
    const Failure refused(ExitCode::refused, error.what(), "docs/simulator.md lists the commands.");
    request.reply.set_exception(std::make_exception_ptr(refused));
  }
}

void SimulatedGloves::endRequests()
{
  const std::scoped_lock lock(mutex_);
  takesRequests_ = false;
  requests_.clear();
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
