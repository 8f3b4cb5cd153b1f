// A simulated dongle with gloves on a pseudo terminal, in real time. Serves `tessel sim` and the option
// --sim. Threads: functions are for the constructing thread unless stated otherwise. Errors: Failure(usage)
// for invalid options and scenarios, Failure(output) if the port can't be created.
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

#include "host/base/RequestQueue.h"
#include "host/gloves/SimulatedPort.h"
#include "simulator/Control.h"
#include "simulator/Dongle.h"
#include "simulator/Grasp.h"
#include "simulator/Scenario.h"
#include "simulator/VirtualClock.h"

struct SimulationOptions {
  bool hasLeft = true;
  bool hasRight = true;
  std::uint32_t leftSerialNumber = 17;  // up to 99999
  std::uint32_t rightSerialNumber = 18;
  std::uint16_t moduleRevision = 5;
  std::uint64_t seed = 1;      // of movement, noise, neighbours and random faults
  std::filesystem::path port;  // empty: in a temporary folder
  // Control commands, executed before the port is created: "rate 100" for the option --rate.
  std::vector<std::string> setup;
  std::vector<std::string> schedule;  // lines of a scenario: "20 silent left"
  std::filesystem::path scenario;     // empty: none
};

class SimulatedGloves {
 public:
  // Checks all options and creates the port, which is not served before run() or start().
  explicit SimulatedGloves(const SimulationOptions& options);
  // Stops, and removes the port.
  ~SimulatedGloves();
  SimulatedGloves(const SimulatedGloves&) = delete;
  SimulatedGloves& operator=(const SimulatedGloves&) = delete;

  // The value of TESSEL_SERIAL_PORTS with which a plug-in finds the port.
  std::string portsVariable() const { return port_->portsVariable(); }

  // Reports connections, disconnections and the events of a scenario, with the time since the start. Called
  // on the running thread. Set it before running.
  std::function<void(const std::string& line)> onReport;

  // Runs on this thread until the flag is set; the command "quit" sets it. Then the dongle is unplugged, so
  // it can run only once.
  void run(std::atomic<bool>& stop);
  // Runs on a separate thread until destruction.
  void start();

  // For the running thread only, or before running.
  simulator::Control& control() { return control_; }
  // On any other thread after start(): has the running thread execute a control command, within some tenths
  // of a second, and returns the reply. Failure(refused) for an unknown command, or if the simulation has
  // ended.
  std::string request(const std::string& command);
  // Runs the action periodically.
  void repeat(simulator::Duration period, const std::function<void()>& action);

 private:
  struct SimulatedGlove {
    std::string_view side;
    simulator::Glove& glove;
    std::string_view link;  // the last reported state
  };

  void addGlove(simulator::Hand hand, std::uint32_t serialNumber, const SimulationOptions& options);
  void applyOptions(const SimulationOptions& options);
  void report(const std::string& text) const;
  void reportLinks();
  std::string execute(const std::string& command);

  VirtualClock clock_;
  simulator::Dongle dongle_{clock_};
  simulator::Control control_;
  std::vector<SimulatedGlove> gloves_;
  simulator::Scenario scenario_;
  bool isHeld_ = false;
  std::optional<SimulatedPort> port_;
  std::atomic<bool>* running_ = nullptr;  // the flag that stops it
  std::atomic<bool> stop_{false};
  RequestQueue requests_;
  std::thread thread_;
};
