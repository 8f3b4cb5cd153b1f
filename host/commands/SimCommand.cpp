// `tessel sim`: gloves for people who have none at hand, or want some that go wrong when told to.

#include <fmt/core.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "host/base/Console.h"
#include "host/base/StopRequest.h"
#include "host/base/System.h"
#include "host/commands/CommandLine.h"
#include "host/commands/Commands.h"
#include "host/commands/SimulationOptions.h"

namespace {

constexpr const char* examples =
    "Examples:\n"
    "  tessel sim                                  two gloves; end with Ctrl-C\n"
    "  tessel sim --gloves left --loss 2           one glove, loses 2 % of packets\n"
    "  tessel sim --battery 'left 12' --sensor 'left thumb 255'\n"
    "  tessel sim --at '10 drop left' --at '20 unplug' --at '25 plug'\n"
    "  tessel sim --port /tmp/dongle --control     takes commands, see `help`\n"
    "A value with [GLOVE] may begin with left or right, and then stands in quotes;\n"
    "without, it is for both. The radio carries about 1,400 packets a second in all,\n"
    "as a real one does: with --rate above 50 two gloves fall behind and frames are\n"
    "dropped, one glove with --rate above 100. docs/simulator.md has more.";

void print(const std::string& lines)
{
  console::printLines(lines);
  std::fflush(stdout);
}

// Commands that come on standard input, one a line. Looks for them without waiting.
class Console {
 public:
  explicit Console(simulator::Control& control) : control_(control) {}

  void poll()
  {
    // A named pipe may get another writer after its end, so its end is nothing special.
    constexpr std::size_t longestLine = 4096;
    text_ += host::waitingInput();
    for (std::size_t end = text_.find('\n'); end != std::string::npos; end = text_.find('\n')) {
      obey(text_.substr(0, end));
      text_.erase(0, end + 1);
    }
    if (text_.size() > longestLine) text_.clear();
  }

 private:
  void obey(const std::string& line)
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
  stopRequest.during([&] { gloves.run(stop); }, [&] { stop = true; });
}

}  // namespace

void addSim(CLI::App& tessel, ExitCode&)
{
  struct Options {
    SimulationOptions simulation;
    bool isControlled = false;
  };
  const auto options = std::make_shared<Options>();
  CLI::App& sim =
      *tessel.add_subcommand("sim", "Simulates a dongle with gloves that move, and go wrong as you wish.");
  sim.footer(examples);
  command_line::addPath(sim, "--port", "PATH", options->simulation.port,
                        "Path of the simulated port, the same each time; otherwise in a new folder");
  command_line::addFlag(sim, "--control", options->isControlled,
                        "Take commands on standard input while it runs");
  addSimulationOptions(sim, options->simulation);
  sim.callback([options] { simulate(options->simulation, options->isControlled); });
}
