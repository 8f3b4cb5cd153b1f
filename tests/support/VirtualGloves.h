// A simulated dongle with gloves at a port of the simulated platform, in virtual time, and the ledger that
// observes both sides of the port. Errors: std::invalid_argument for an invalid control command.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/Control.h"
#include "simulator/Dongle.h"
#include "tests/support/Ledger.h"
#include "tests/support/SimulatedPlatform.h"

class VirtualGloves {
 public:
  static simulator::GloveConfig glove(const std::string& name, std::uint8_t address);
  static std::vector<simulator::GloveConfig> leftAndRight();

  // In a record: this number of gloves, and of the elements of each. `seed`: of random packet faults.
  VirtualGloves(std::size_t gloves, std::size_t elements, std::uint64_t seed);
  VirtualGloves(const VirtualGloves&) = delete;
  VirtualGloves& operator=(const VirtualGloves&) = delete;

  // Control commands know it by this name, which must outlive it. Gloves advertise in their order.
  simulator::Glove& add(std::string_view name, const simulator::GloveConfig& config);
  void execute(const std::string& command) { control_.execute(command); }

  struct Step {
    double at;
    std::string command;
  };
  // `run` executes each command at its virtual second.
  void schedule(const std::vector<Step>& steps, double begin,
                const std::function<void(const std::string& command)>& run);
  // The next message ends after this number of bytes; the dongle is then unplugged, if it `snaps`.
  void cutNext(std::size_t bytes, bool snaps);
  // At this virtual second: sends the next complete frame of the first glove twice.
  void repeatFrameAt(double second);

  // What the plug-in has captured since the last call.
  std::vector<std::uint8_t> takeCapture() { return std::exchange(platform_.captured, {}); }

  double now() const;  // virtual seconds
  SimulatedPlatform& platform() { return platform_; }
  SimulatedPlatform::Port& port() { return port_; }
  Ledger& ledger() { return ledger_; }
  const Ledger& ledger() const { return ledger_; }

 private:
  void receive(std::span<const std::uint8_t> message);
  void runAt(double second, std::function<void()> action);
  void repeatFrame(const Ledger::Packet& packet, std::span<const std::uint8_t> message);

  SimulatedPlatform platform_;
  SimulatedPlatform::Port& port_;
  simulator::Dongle dongle_;
  simulator::Control control_;
  Ledger ledger_;
  std::uint64_t latestNumber_ = 0;                      // of the first glove's frame
  std::vector<std::vector<std::uint8_t>> latestFrame_;  // its messages
  bool repeatsFrame_ = false;
  bool snaps_ = false;
};

// As a duration of the virtual clock.
simulator::Duration virtualSeconds(double value);
