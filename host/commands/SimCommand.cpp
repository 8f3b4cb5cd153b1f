// `tessel sim`: simulates a dongle with gloves, and faults on request, or replays a capture.

#include <fmt/core.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include "host/base/Console.h"
#include "host/base/StopRequest.h"
#include "host/base/System.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/ReplayCommand.h"
#include "host/commands/SimulationOptions.h"

namespace {

constexpr const char* examples =
    "Examples:\n"
    "  tessel sim                                  two gloves; end it with Ctrl-C\n"
    "  tessel sim --gloves left --loss 2           one glove, 2 % packet loss\n"
    "  tessel sim --battery 'left 12' --sensor 'left thumb 255'\n"
    "  tessel sim --at '10 drop left' --at '20 unplug' --at '25 plug'\n"
    "  tessel sim --port /tmp/dongle --control     reads commands; `help` lists them\n"
    "  tessel sim --replay trial.pcapng            plays what `record --capture` kept\n"
    "[GLOVE] is left or right, with the whole value in quotes; without it the value\n"
    "applies to both gloves. As with real gloves, the radio carries about 1,400\n"
    "packets per second: frames are dropped above --rate 50 with two gloves, and\n"
    "above --rate 100 with one. See docs/simulator.md for more.";

void print(const std::string& lines)
{
  console::printLines(lines);
  std::fflush(stdout);
}

// Reads commands from standard input, one per line, without blocking.
class Console {
 public:
  explicit Console(simulator::Control& control) : control_(control) {}

  void poll()
  {
    // A named pipe may get another writer later, so the end of the input is ignored.
    constexpr std::size_t maxLineLength = 4096;
    text_ += host::waitingInput();
    for (std::size_t end = text_.find('\n'); end != std::string::npos; end = text_.find('\n')) {
      execute(text_.substr(0, end));
      text_.erase(0, end + 1);
    }
    if (text_.size() > maxLineLength) text_.clear();
  }

 private:
  void execute(const std::string& line)
  {
    if (simulator::WordReader(line).atEnd()) return;
    try {
      print(control_.execute(line));
    } catch (const std::invalid_argument& error) {
      print(fmt::format("error: {}", error.what()));
    }
  }

  simulator::Control& control_;
  std::string text_;
};

void simulate(const SimulationOptions& options, bool isControlled)
{
  StopRequest stopRequest;
  SimulatedGloves gloves(options);

  print(fmt::format("export TESSEL_SERIAL_PORTS='{}'", gloves.portsVariable()));
  print("Enter that line in another terminal, then for example: tessel record");
  print(gloves.control().execute("status"));
  print(isControlled ? "Commands: `help` lists them. End with `quit` or Ctrl-C." : "End with Ctrl-C.");

  gloves.onReport = print;
  Console console(gloves.control());
  if (isControlled) gloves.repeat(std::chrono::milliseconds(20), [&console] { console.poll(); });
  std::atomic<bool> stop{false};
  try {
    stopRequest.during([&] { gloves.run(stop); }, [&] { stop = true; });
  } catch (const std::system_error& error) {
    throw Failure(ExitCode::output,
                  fmt::format("the simulated port can't be plugged in again: {}.", error.code().message()),
                  "Choose a path with --port that nobody else uses.");
  }
}

}  // namespace

void addSim(CLI::App& tessel, ExitCode&)
{
  struct Options {
    SimulationOptions simulation;
    ReplayOptions replay;
    bool isControlled = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& sim = command_line::addCommand(
      tessel, "sim", "Simulates a dongle with moving gloves, and faults on request, or replays a capture.");
  command_line::setNotes(sim, examples);
  command_line::addFlag(sim, "--control", options->isControlled,
                        "Read commands from standard input while it runs");
  addSimulationOptions(sim, options->simulation);
  const std::vector<command_line::Option> onlyOfGloves = command_line::optionsOf(sim);
  command_line::addPath(sim, "--port", "PATH", options->simulation.port,
                        "Path of the simulated port; by default in a new temporary folder");
  const command_line::Option replayed =
      command_line::addPath(sim, "--replay", "CAPTURE", options->replay.capture,
                            "Play the dongle's side of this capture instead of simulating gloves")
          .completeFiles({"pcapng"});
  for (const command_line::Option& option : onlyOfGloves) {
    replayed.excludes(option);
  }
  command_line::addNumber(
      sim, "--speed", "FACTOR", {.lowest = 0.01, .highest = 100},
      [options](double speed) { options->replay.speed = speed; },
      "Speed of the replay (1); 2 is twice as fast")
      .needs(replayed);
  command_line::onRun(sim, [options] {
    if (options->replay.capture.empty()) {
      simulate(options->simulation, options->isControlled);
    } else {
      options->replay.port = options->simulation.port;
      replay(options->replay);
    }
  });
}
