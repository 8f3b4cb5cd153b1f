// A dongle with simulated gloves behind a port, in real time, for `tessel sim` and for whoever wants gloves
// without having any. Threads: those of its functions that say nothing else are for the thread that made it.
// Errors: Failure(usage) for options and scenarios that can't be, Failure(output) if there can be no port.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/base/ScratchFolder.h"
#include "simulator/Control.h"
#include "simulator/Dongle.h"
#include "simulator/Grasp.h"
#include "simulator/PtyPort.h"
#include "simulator/Scenario.h"
#include "simulator/VirtualClock.h"

struct SimulationOptions {
  bool hasLeft = true;
  bool hasRight = true;
  std::uint32_t leftSerialNumber = 17;  // up to 99999
  std::uint32_t rightSerialNumber = 18;
  std::uint16_t moduleRevision = 5;
  std::uint64_t seed = 1;      // of movement, noise and what goes wrong by chance
  std::filesystem::path port;  // empty: in a folder of its own, which goes with it
  // Commands of the control, done before the port is there: "rate 100" for the option --rate.
  std::vector<std::string> setup;
  std::vector<std::string> schedule;  // lines of a scenario: "20 silent left"
  std::filesystem::path scenario;     // empty: none
};

class SimulatedGloves {
 public:
  // Makes the port; nobody serves it until it runs. Everything in the options has been checked by then.
  explicit SimulatedGloves(const SimulationOptions& options);
  // Stops, and removes the port.
  ~SimulatedGloves();
  SimulatedGloves(const SimulatedGloves&) = delete;
  SimulatedGloves& operator=(const SimulatedGloves&) = delete;

  // What TESSEL_SERIAL_PORTS has to be for a plug-in to find the port.
  std::string portsVariable() const;

  // Told, with the time since the beginning, of links that begin and end, and of what a scenario does. Called
  // on the running thread. To be set before it runs.
  std::function<void(const std::string& line)> onReport;

  // Runs on this thread until the flag is set; "quit" sets it. The dongle is unplugged then: it runs once.
  void run(std::atomic<bool>& stop);
  // Runs on a thread of its own until it is destroyed.
  void start();

  // For the running thread, or before it runs.
  simulator::Control& control() { return control_; }
  // Has something done again and again.
  void repeat(simulator::Duration period, const std::function<void()>& action);

 private:
  struct SimulatedGlove {
    std::string_view side;
    simulator::Glove& glove;
    std::string_view link;  // as reported last
  };

  void addGlove(simulator::Hand hand, std::uint32_t serialNumber, const SimulationOptions& options);
  void obey(const SimulationOptions& options);
  void makePort(const std::filesystem::path& wanted);
  void report(const std::string& text) const;
  void reportLinks();

  VirtualClock clock_;
  simulator::Dongle dongle_{clock_};
  simulator::Control control_;
  std::vector<SimulatedGlove> gloves_;
  simulator::Scenario scenario_;
  bool isHeld_ = false;
  std::optional<ScratchFolder> folder_;
  std::filesystem::path path_;
  std::optional<simulator::PtyPort> port_;
  std::atomic<bool>* running_ = nullptr;  // the flag that stops it
  std::atomic<bool> stop_{false};
  std::thread thread_;
};
